#pragma once

#include <string>

#include "datalinks/cDataSource.h"
#include "ui/Controls.h"

namespace torvik {

namespace ado {
class Provider;
}
class AsideWork;
class FileDialogs;
class Files;
class FtpFuncModule;
class Messages;
class ShellBrowser;
struct NamesOfServer;

/// What the editor panels use outside of their form.
struct PanelServices {
  ShellBrowser& shell;
  FileDialogs& dialogs;
  ado::Provider& databases;
  Messages& messages;
  FtpFuncModule& ftp;
  Files& files;
  AsideWork& aside;  ///< Servers may take long to answer.
};

/// An editor panel of one family of data links. It edits its record in place: each change of a
/// field is in the record at once, and nowhere else until the job is saved.
class DataLinkPanel {
 public:
  explicit DataLinkPanel(const PanelServices& services) : services_(services) {}
  virtual ~DataLinkPanel() = default;
  DataLinkPanel(const DataLinkPanel&) = delete;
  DataLinkPanel& operator=(const DataLinkPanel&) = delete;

  const PanelServices& Services() const { return services_; }

  Observable<bool> Visible;
  /// After a change of the record.
  Signal Changed;

  /// Blanks the properties of the record that do not belong to the panel's family, and shows the
  /// others. The record must live until another one, or none, is given.
  void SetObjDataSource(cDataSource& link);
  CommandButton cmdTest;
  /// Opens what the link leads to, and closes it again; a box says whether it could.
  virtual void cmdTest_Click();

  cDataSource* ObjDataSource() const { return link_; }
  void ForgetDataSource() { link_ = nullptr; }

 protected:
  virtual void Blank(cDataSource& link) const = 0;
  virtual void Show(const cDataSource& link) = 0;

  /// From now on the box's text is written into that property.
  void Writes(TextBox& box, std::string cDataSource::*property);
  void Writes(ComboBox& box, std::string cDataSource::*property);
  template <typename T>
  void Write(T cDataSource::*property, const T& value) {
    if (link_ == nullptr || link_->*property == value) return;
    link_->*property = value;
    Changed();
  }

  /// Of a link that is a file: what belongs to servers and directories.
  static void BlankServerFields(cDataSource& link);

  /// Puts the server that the user chooses into the box.
  void BrowseForServer(TextBox& box, const std::string& title) const;
  /// Puts the file that the user chooses into the box.
  void BrowseForFile(TextBox& box, const std::string& title, const std::string& filter) const;

  /// Has a server list its names in the box, or a message box say why not.
  void ShowNames(const NamesOfServer& server, ComboBox& box) const;

  PanelServices services_;

 private:
  void Write(std::string cDataSource::*property, const std::string& text);

  cDataSource* link_ = nullptr;
};

}  // namespace torvik
