#include "engine/Identifiers.h"

#include <array>
#include <cstdio>
#include <random>

namespace torvik::engine {

std::string NewIdentifier() {
  std::random_device random;
  std::array<unsigned, 4> words;
  for (unsigned& word : words) word = random();
  words[1] = (words[1] & 0xFFFF0FFF) | 0x4000;      // version 4: random
  words[2] = (words[2] & 0x3FFFFFFF) | 0x80000000;  // the usual variant
  char text[40];
  std::snprintf(text, sizeof text, "%08X-%04X-%04X-%04X-%04X%08X", words[0], words[1] >> 16,
                words[1] & 0xFFFF, words[2] >> 16, words[2] & 0xFFFF, words[3]);
  return text;
}

}  // namespace torvik::engine
