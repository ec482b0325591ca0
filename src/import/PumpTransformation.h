#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "import/DocumentWriter.h"
#include "import/Properties.h"
#include "import/Record.h"

namespace torvik::importing {

/// Columns that belong together.
struct ColumnPair {
  std::string source, destination;  ///< Empty: none.
};

/// One transformation of a pump.
class PumpTransformation {
 public:
  /// `object` is the recorded one; both must outlive it.
  PumpTransformation(const Object& object, std::vector<Note>& notes);

  const std::string& Kind() const { return kind_; }
  /// The words of "allow".
  const std::vector<std::string>& Allowed() const { return allowed_; }
  int Line() const { return object_.line; }
  const Object& Original() const { return object_; }
  std::vector<ColumnPair> Pairs() const;
  bool IsEven() const { return sources_.size() == destinations_.size(); }
  /// As tables of the step.
  void Write(DocumentWriter& writer, bool writesFlags);
  /// In quotes, for remarks.
  std::string Name() const;

 private:
  /// Begins a table of the type.
  using Begin = std::function<void(const char*)>;

  static std::string KindOf(const std::string& progId);
  void ReadFlags(std::int64_t flags);
  /// Its own settings lie in a bag beside it.
  Properties Settings();

  void WriteScript(DocumentWriter& writer, Properties& settings, const Begin& begin);

  /// When a script is called, and by which function.
  struct Entry {
    const char* phase;  ///< Null: for rows.
    std::string function;
  };

  /// One for each phase that the transformation takes part in and has a function for.
  std::vector<Entry> Entries(Properties& settings);
  /// Without a list the columns that the script names are its destinations.
  void WriteDestinations(DocumentWriter& writer, const std::string& script, bool isOfRows);
  static std::string NotWritten(const std::string& function, const std::string& language);
  /// It fills no column: a value goes to the file that another one names.
  void WriteWriteFile(DocumentWriter& writer, Properties& settings, const Begin& begin);
  void WriteFileKeys(DocumentWriter& writer, Properties& settings);
  /// One column: its first transformation, then what the same one does besides.
  void WriteOne(DocumentWriter& writer, Properties& settings, const Begin& begin, std::size_t i);
  /// Which end of a text is trimmed; null for none.
  const char* SideToTrim(Properties& settings, std::size_t i);
  void WriteRest(DocumentWriter& writer, Properties& settings, const Property* more = nullptr);

  static constexpr std::int64_t kAllPhases = 255;

  const Object& object_;
  std::vector<Note>& notes_;
  const std::string kind_;
  const std::vector<std::string> sources_, destinations_;
  Properties own_;
  std::int64_t phases_ = 0;
  std::vector<std::string> allowed_;
  std::vector<std::string> idle_;
  std::shared_ptr<Object> settings_;
};

}  // namespace torvik::importing
