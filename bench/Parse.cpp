// Times the reading of a delimited text file against a scan of the same bytes that only finds where
// fields end. See README.md.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string_view>
#include <vector>

#include "engine/pump/RowBatch.h"
#include "engine/pump/RowSource.h"
#include "platform/PlatformError.h"
#include "platform/linux/system/PosixFiles.h"
#include "platform/linux/text/IconvCodePages.h"

using namespace torvik;
using namespace torvik::engine;

namespace {

struct Counts {
  std::size_t rows = 0, fields = 0, bad = 0;
};

std::string_view Mapped(const char* path) {
  const int file = open(path, O_RDONLY);
  struct stat status {};
  if (file < 0 || fstat(file, &status) != 0) {
    std::perror(path);
    std::exit(1);
  }
  const auto size = static_cast<std::size_t>(status.st_size);
  void* const bytes = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, file, 0);
  if (bytes == MAP_FAILED) {
    std::perror(path);
    std::exit(1);
  }
  return {static_cast<const char*>(bytes), size};
}

/// The peer: a tight loop that honours quotes, skipping plain bytes by a table.
Counts FindFieldEnds(std::string_view text) {
  std::array<bool, 256> stops{};
  for (const unsigned char c : {',', '\n', '"'}) stops[c] = true;
  Counts counts;
  const char* p = text.data();
  const char* const end = p + text.size();
  for (; p < end; ++p) {
    while (p < end && !stops[static_cast<unsigned char>(*p)]) ++p;
    if (p == end) break;
    if (*p == '"') do
        ++p;
      while (p < end && *p != '"');
    else
      ++counts.fields, counts.rows += *p == '\n';
  }
  return counts;
}

Counts Parse(Files& files, const CodePages& codePages, const char* path) {
  Counts counts;
  const auto source = OpenTextSource(files, codePages, path, {.firstRowColumnName = true});
  for (RowBatch batch; source->Fetch(batch);) {
    counts.rows += batch.RowCount();
    counts.bad += batch.BadRows().size();
    counts.fields += batch.RowCount() * source->Columns().size();
  }
  return counts;
}

double ProcessorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

/// Of the processor, the kernel's share included: other programs do not count.
double Seconds(const std::function<Counts()>& work, Counts& counts) {
  const double start = ProcessorSeconds();
  counts = work();
  return ProcessorSeconds() - start;
}

double Median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: bench_parse FILE [TIMES]\n");
    return 2;
  }
  const int times = argc > 2 ? std::max(1, std::atoi(argv[2])) : 11;
  const auto codePages = NewIconvCodePages("windows-1252");
  const auto files = NewPosixFiles(PathMap(), *codePages, "/tmp");
  const std::string_view text = Mapped(argv[1]);
  std::vector<double> parse, scan;
  Counts parsed, scanned;
  for (int time = 0; time < times; ++time) {
    parse.push_back(Seconds([&] { return Parse(*files, *codePages, argv[1]); }, parsed));
    scan.push_back(Seconds([&] { return FindFieldEnds(text); }, scanned));
  }
  const double megabytes = static_cast<double>(text.size()) / 1e6;
  std::printf("parse %.0f MB/s (%zu rows, %zu bad), scan %.0f MB/s (%zu rows): ratio %.2f\n",
              megabytes / Median(parse), parsed.rows, parsed.bad, megabytes / Median(scan),
              scanned.rows, Median(scan) / Median(parse));
}
