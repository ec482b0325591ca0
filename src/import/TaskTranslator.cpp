#include "import/TaskTranslator.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "import/DynamicAssignments.h"
#include "import/PumpTranslator.h"
#include "import/Remarks.h"
#include "import/ScriptText.h"
#include "platform/CommandText.h"
#include "platform/Text.h"

namespace torvik::importing {
namespace {

/// The parts of a list, without blanks and quotes around them.
std::vector<std::string> Parts(std::string_view list, char separator) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= list.size();) {
    const std::size_t end = std::min(list.find(separator, begin), list.size());
    std::string_view part = list.substr(begin, end - begin);
    const auto isAround = [](char c) { return c == ' ' || c == '"' || c == '\''; };
    while (!part.empty() && isAround(part.front())) part.remove_prefix(1);
    while (!part.empty() && isAround(part.back())) part.remove_suffix(1);
    if (!part.empty()) parts.emplace_back(part);
    begin = end + 1;
  }
  return parts;
}

/// "\t" and "\n" as two characters mean one.
std::string Unescaped(std::string text) {
  for (const auto& [code, character] : {std::pair{"\\t", "\t"}, {"\\r", "\r"}, {"\\n", "\n"}})
    for (std::size_t at = text.find(code); at != text.npos; at = text.find(code))
      text.replace(at, 2, character);
  return text;
}

class TaskWriter {
 public:
  TaskWriter(TaskScope& scope, const Object& task)
      : scope_(scope), writer_(scope.writer), task_(task), properties_(&task, scope.notes) {
    for (const char* idle : {"Name", "Description"}) properties_.Take(idle);
  }

  void Write() {
    struct Kind {
      const char* name;
      void (TaskWriter::*write)();
    };
    static constexpr Kind kKinds[] = {
        {"executesqltask", &TaskWriter::WriteSql},
        {"datapumptask", &TaskWriter::WriteDataPump},
        {"datadrivenquerytask", &TaskWriter::WriteDataPump},
        {"executepackagetask", &TaskWriter::WritePackage},
        {"createprocesstask", &TaskWriter::WriteProcess},
        {"bulkinserttask", &TaskWriter::WriteBulkInsert},
        {"sendmailtask", &TaskWriter::WriteMail},
        {"ftptask", &TaskWriter::WriteFetch},
        {"dynamicpropertiestask", &TaskWriter::WriteDynamicProperties},
        {"activescripttask", &TaskWriter::WriteScript},
        {"activexscripttask", &TaskWriter::WriteScript}};
    const std::string name = ClassName(task_.progId);
    const auto kind =
        std::ranges::find_if(kKinds, [&](const Kind& one) { return name == one.name; });
    if (kind == std::end(kKinds))
      WriteNotImported("there is no such task here");
    else
      (this->*kind->write)();
    if (name == "datapumptask" || name == "datadrivenquerytask") return;
    const std::vector<Property> rest = properties_.Rest();
    NoteKept(name, "the task " + TaskName(), rest, scope_.notes);
    WriteStepOriginal(scope_, rest);
  }

 private:
  void Note(std::string text) { scope_.notes.push_back({task_.line, std::move(text)}); }

  std::string TaskName() {
    const std::string name = properties_.Plain("Name");
    return "\"" + (name.empty() ? task_.progId : name) + "\"";
  }

  std::string Connection() {
    const std::int64_t id = properties_.Whole("ConnectionID", 0);
    const auto found = scope_.connections.find(id);
    if (found != scope_.connections.end()) return found->second;
    Note("the task " + TaskName() + " uses the connection " + std::to_string(id) +
         ", which the package does not have");
    return "connection " + std::to_string(id);
  }

  void WriteNotImported(const std::string& reason) {
    Note("the task " + TaskName() + " (" + task_.progId + ") is not imported: " + reason +
         "; its step fails until it is replaced");
    writer_.Text("task", "NotImported");
    writer_.Text("kind", task_.progId);
    writer_.Text("reason", reason);
  }

  void WriteSql() {
    writer_.Text("task", "ExecuteSQL");
    writer_.Text("connection", Connection());
    const std::vector<std::string> parameters =
        Parts(properties_.Plain("InputGlobalVariableNames"), ';');
    const std::vector<std::string> results =
        Parts(properties_.Plain("OutputGlobalVariableNames"), ';');
    if (!parameters.empty()) writer_.List("parameters", parameters);
    if (properties_.Boolean("OutputAsRecordset", false))
      Note("the task " + TaskName() +
           " gives a whole result to a variable, which variables here cannot hold");
    else if (!results.empty())
      writer_.List("results", results);
    if (const std::int64_t seconds = properties_.Whole("CommandTimeout", 0); seconds > 0)
      writer_.Whole("timeout_seconds", seconds);
    writer_.LongText("sql", properties_.Text("SQLStatement"));
  }

  void WriteDataPump() { WritePump(scope_, task_); }

  void WritePackage() {
    writer_.Text("task", "ExecutePackage");
    writer_.Text("package", properties_.Text("PackageName"));
    const std::string server = properties_.Text("ServerName");
    if (!server.empty()) writer_.Text("server", server);
    if (!properties_.Plain("FileName").empty())
      Note("the package that the task " + TaskName() +
           " runs lies in a file; import it and store it on the server");
    std::vector<std::pair<std::string, std::string>> variables;
    if (const Object* all = task_.Child("globalvariables"))
      for (const ObjectPtr& one : all->items)
        if (const Property* name = one->Find("Name"))
          if (const Property* value = one->Find("Value"))
            variables.emplace_back(name->value.PlainText(), value->value.DocumentText());
    if (!variables.empty()) writer_.Table("variables", variables);
    if (properties_.Take("ServerPassword") && !properties_.Plain("ServerPassword").empty())
      Note("the password of the task " + TaskName() +
           " is left out; DTSServerLoginPassword of the job is used");
  }

  void WriteProcess() {
    const std::vector<std::string> words = SplitCommandText(properties_.Text("ProcessCommandLine"));
    writer_.Text("task", "ExecuteProcess");
    writer_.Text("program", words.empty() ? "" : words[0]);
    if (words.size() > 1) writer_.List("arguments", {words.begin() + 1, words.end()});
    if (const std::int64_t code = properties_.Whole("SuccessReturnCode", 0); code != 0)
      writer_.Append("success_codes = [" + std::to_string(code) + "]\n");
    if (const std::int64_t seconds = properties_.Whole("Timeout", 0); seconds > 0)
      writer_.Whole("timeout_seconds", seconds);
    Note("the program of the task " + TaskName() + " has to exist on this machine");
  }

  void WriteBulkInsert() {
    writer_.Text("task", "BulkInsert");
    writer_.Text("connection", Connection());
    writer_.Text("table", properties_.Text("DestinationTableName"));
    writer_.Text("file", properties_.Text("DataFile"));
    const std::string field = Unescaped(properties_.Text("FieldTerminator"));
    const std::string row = Unescaped(properties_.Text("RowTerminator"));
    if (!field.empty()) writer_.Text("field_terminator", field);
    if (!row.empty() && row != "\n" && row != "\r\n") writer_.Text("row_terminator", row);
    const std::string codePage = LowerAscii(properties_.Plain("CodePage"));
    const bool isNumber = !codePage.empty() && std::ranges::all_of(codePage, [](char c) {
      return c >= '0' && c <= '9';
    });
    writer_.Text("encoding", codePage == "oem" ? "cp437"
                             : isNumber        ? "cp" + codePage
                                               : "windows-1252");
    const struct {
      const char* property;
      const char* key;
    } numbers[] = {{"FirstRow", "first_row"},
                   {"LastRow", "last_row"},
                   {"BatchSize", "insert_commit_size"},
                   {"MaximumErrors", "maximum_error_count"}};
    for (const auto& number : numbers)
      if (const std::int64_t value = properties_.Whole(number.property, 0); value > 0)
        writer_.Whole(number.key, value);
    const struct {
      const char* property;
      const char* key;
      bool usual;
    } switches[] = {{"KeepIdentity", "identity_insert", false},
                    {"KeepNulls", "keep_nulls", false},
                    {"CheckConstraints", "check_constraints", true},
                    {"TableLock", "table_lock", false}};
    for (const auto& one : switches)
      if (const bool value = properties_.Boolean(one.property, one.usual); value != one.usual)
        writer_.Boolean(one.key, value);
    if (!properties_.Plain("FormatFile").empty())
      Note("the task " + TaskName() +
           " has a format file, which is not read: give its columns in \"columns\"");
  }

  void WriteMail() {
    writer_.Text("task", "SendMail");
    writer_.Text("to", properties_.Text("ToLine"));
    const std::string copies = properties_.Text("CCLine");
    if (!copies.empty()) writer_.Text("cc", copies);
    writer_.Text("subject", properties_.Text("Subject"));
    const std::vector<std::string> files = Parts(properties_.Text("FileAttachments"), ';');
    if (!files.empty()) writer_.List("attachments", files);
    const std::string text = properties_.Text("MessageText");
    if (!text.empty()) writer_.LongText("text", text);
    Note("the mail of the task " + TaskName() +
         " goes by the server of [mail] in the settings, to addresses and not to names");
  }

  /// Files of an FTP site or of a directory.
  void WriteFetch() {
    writer_.Text("task", "FetchFiles");
    constexpr std::int64_t kDirectory = 1;  // DTSFTPSourceLocation_Directory
    std::string site = properties_.Text("SourceSite");
    const std::string user = properties_.Text("SourceUsername");
    properties_.Take("SourcePassword");
    if (properties_.Whole("SourceLocation", 0) == kDirectory)
      writer_.Text("directory", site);
    else
      WriteFtpSite(site, user);
    writer_.List("files", FetchedFiles(properties_.Text("SourceFilename")));
    writer_.Text("destination", properties_.Text("DestSite"));
    if (properties_.Boolean("NonOverwritable", false)) writer_.Boolean("overwrite", false);
    if (const std::int64_t retries = properties_.Whole("NumRetriesOnSource", 0); retries > 0)
      writer_.Whole("retries", retries);
  }

  /// "ftp://host:port/directory", of which all but the host may be missing.
  void WriteFtpSite(std::string site, const std::string& user) {
    if (LowerAscii(site).starts_with("ftp://")) site.erase(0, 6);
    const std::size_t slash = std::min(site.find('/'), site.size());
    std::string host = site.substr(0, slash);
    const std::size_t colon = host.find(':');
    const std::string port = colon == host.npos ? "" : host.substr(colon + 1);
    const bool hasPort = !port.empty() && port.size() <= 5 &&
                         std::ranges::all_of(port, [](char c) { return c >= '0' && c <= '9'; });
    if (hasPort) host.erase(colon);
    writer_.Text("server", host);
    if (hasPort) writer_.Whole("port", std::stoll(port));
    if (slash < site.size()) writer_.Text("directory", site.substr(slash));
    const bool isAnonymous = user.empty() || EqualsIgnoringCase(user, "anonymous");
    if (!isAnonymous)
      Note("the task " + TaskName() + " logs on to " + host + " as " + user +
           ": write that user and the password into [ftp " + host + "] of the settings");
  }

  /// The paths of "'NAME';'DIRECTORY';'SIZE';", three parts a file.
  static std::vector<std::string> FetchedFiles(std::string_view list) {
    std::vector<std::string> parts, files;
    for (std::size_t begin = 0; begin < list.size();) {
      const std::size_t end = std::min(list.find(';', begin), list.size());
      parts.emplace_back(Trimmed(list.substr(begin, end - begin), " '\""));
      begin = end + 1;
    }
    for (std::size_t i = 0; i < parts.size(); i += 3) {
      std::string directory = i + 1 < parts.size() ? parts[i + 1] : "";
      const bool isOpen = !directory.empty() && directory.back() != '/' && directory.back() != '\\';
      files.push_back(directory + (isOpen ? "/" : "") + parts[i]);
    }
    return files;
  }

  void WriteScript() {
    const std::string language = properties_.Plain("ScriptLanguage");
    const bool isBasic = language.empty() || LowerAscii(language).starts_with("vb");
    if (!isBasic) return WriteNotImported("its script is written in " + language);
    writer_.Text("task", "Script");
    const std::string function = properties_.Plain("FunctionName");
    if (!function.empty() && !EqualsIgnoringCase(function, "Main"))
      writer_.Text("function", function);
    const std::string script = properties_.Plain("ActiveXScript");
    NoteScript(scope_.notes, task_.line, "the task " + TaskName(), script);
    writer_.LongText("script", script);
  }

  void WriteDynamicProperties() {
    const DynamicAssignments assignments(task_, scope_);
    if (const std::string& trouble = assignments.Trouble(); !trouble.empty())
      return WriteNotImported(trouble);
    assignments.Write();
  }

  TaskScope& scope_;
  DocumentWriter& writer_;
  const Object& task_;
  Properties properties_;
};

}  // namespace

void WriteTask(TaskScope& scope, const Object& task) {
  TaskWriter(scope, task).Write();
}

void WriteOriginal(DocumentWriter& writer, const std::string& header,
                   const std::vector<Property>& properties) {
  if (properties.empty()) return;
  writer.Header(header);
  for (const Property& property : properties) writer.Plain(property.name, property.value);
}

void WriteStepOriginal(TaskScope& scope, const std::vector<Property>& ofTask) {
  std::vector<Property> all = scope.stepRest;
  for (const Property& property : ofTask) {
    const bool isThere = std::ranges::any_of(
        all, [&](const Property& other) { return EqualsIgnoringCase(other.name, property.name); });
    all.push_back(property);
    if (isThere) all.back().name += " of the task";
  }
  WriteOriginal(scope.writer, "[steps.original]", all);
}

std::string ClassName(std::string_view progId) {
  std::string name = LowerAscii(progId);
  while (!name.empty() && (name.back() == '.' || (name.back() >= '0' && name.back() <= '9')))
    name.pop_back();
  name = name.substr(name.find_last_of('.') + 1);
  if (name.starts_with("dts")) name.erase(0, 3);
  return name;
}

}  // namespace torvik::importing
