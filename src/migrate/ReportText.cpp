#include "migrate/Report.h"

#include "platform/Text.h"

namespace torvik::migrate {
namespace {

/// A text as it stands, in one line of a table: what Markdown and the HTML in it would take for
/// marks is escaped.
std::string MarkdownCell(const std::string& text) {
  std::string cell;
  for (const char c : ControlsAsBlanks(text)) {
    if (std::string_view("\\`*_[]<>|#&").find(c) != std::string_view::npos) cell += '\\';
    cell += c;
  }
  return cell;
}

std::string HtmlText(const std::string& text) {
  std::string html;
  for (const char c : text) {
    switch (c) {
      case '&': html += "&amp;"; break;
      case '<': html += "&lt;"; break;
      case '>': html += "&gt;"; break;
      case '"': html += "&quot;"; break;
      default: html += c;
    }
  }
  return html;
}

std::string MarkdownTable(const ReportSection& section) {
  std::string text = "|", line = "\n|";
  for (const std::string& heading : section.headings) {
    text += " " + heading + " |";
    line += "---|";
  }
  text += line + "\n";
  for (const auto& row : section.rows) {
    text += "|";
    for (const std::string& cell : row) text += " " + MarkdownCell(cell) + " |";
    text += "\n";
  }
  return text;
}

std::string HtmlTable(const ReportSection& section) {
  std::string text = "<table>\n<tr>";
  for (const std::string& heading : section.headings) text += "<th>" + HtmlText(heading) + "</th>";
  text += "</tr>\n";
  for (const auto& row : section.rows) {
    text += "<tr>";
    for (const std::string& cell : row) text += "<td>" + HtmlText(ControlsAsBlanks(cell)) + "</td>";
    text += "</tr>\n";
  }
  return text + "</table>\n";
}

constexpr const char* kStyle =
    "body { font-family: sans-serif; margin: 2em; }\n"
    "table { border-collapse: collapse; }\n"
    "th, td { border: 1px solid #bbb; padding: .3em .6em; text-align: left; vertical-align: top; "
    "}\n"
    "th { background: #eee; }\n"
    "pre { background: #f6f6f6; padding: 1em; }\n";

}  // namespace

std::string Markdown(const Report& report) {
  std::string text = "# " + MarkdownCell(report.title) + "\n";
  for (const ReportSection& section : report.sections) {
    text += "\n## " + section.title + "\n\n";
    if (!section.intro.empty()) text += section.intro + "\n\n";
    if (!section.headings.empty()) text += MarkdownTable(section);
    // Indented text is taken as it stands, whatever is in it.
    if (!section.settings.empty()) {
      text += "    ";
      for (const char c : section.settings) text += c == '\n' ? "\n    " : std::string(1, c);
      text += "\n";
    }
  }
  return text;
}

std::string Html(const Report& report) {
  std::string text = "<!DOCTYPE html>\n<html lang=\"en\">\n<meta charset=\"utf-8\">\n<title>" +
                     HtmlText(report.title) + "</title>\n<style>\n" + kStyle + "</style>\n<h1>" +
                     HtmlText(report.title) + "</h1>\n";
  for (const ReportSection& section : report.sections) {
    text += "<h2>" + HtmlText(section.title) + "</h2>\n";
    if (!section.intro.empty()) text += "<p>" + HtmlText(section.intro) + "</p>\n";
    if (!section.headings.empty()) text += HtmlTable(section);
    if (!section.settings.empty()) text += "<pre>" + HtmlText(section.settings) + "</pre>\n";
  }
  return text + "</html>\n";
}

}  // namespace torvik::migrate
