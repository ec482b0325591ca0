#include "ui/ctDLlFlatFile.h"

#include <cstdint>
#include <string>
#include <system_error>
#include <vector>

#include "config/FileUtils.h"
#include "datalinks/FieldReaders.h"
#include "platform/CountText.h"
#include "platform/Files.h"
#include "platform/Messages.h"
#include "transfer/FtpFuncModule.h"
#include "ui/AsideWork.h"
#include "ui/ModSHBrowse.h"

namespace torvik {
namespace {

constexpr const char* kRightsFile = "status";

/// What a box says, and how.
struct Finding {
  std::string text;
  BoxIcon icon = BoxIcon::Information;
};

Finding Unreadable(const std::string& path, const std::error_code& error) {
  return {"Cannot read " + path + ": " + error.message() +
              ". Make it readable for the user of the job, or choose another directory.",
          BoxIcon::Critical};
}

Finding NoFiles(const std::string& directory, bool areFetched) {
  const std::string text = "There are no files in " + directory;
  if (areFetched) return {text + " yet: they are fetched before each run."};
  return {text + ". Put the files there, or choose another directory.", BoxIcon::Exclamation};
}

Finding LookAt(Files& files, std::string directory, bool areFetched) {
  if (directory.empty()) return {"Choose the local directory first.", BoxIcon::Exclamation};
  AddTrailingSeparator(directory);
  std::vector<std::string> names;
  if (const auto error = files.ListFiles(directory, names)) return Unreadable(directory, error);
  if (names.empty()) return NoFiles(directory, areFetched);
  std::uint64_t all = 0;
  for (const std::string& name : names) {
    const std::string path = directory + name;
    std::uint64_t bytes = 0;
    auto error = files.CheckReadable(path);
    if (!error) error = files.Size(path, bytes);
    if (error) return Unreadable(path, error);
    all += bytes;
  }
  return {Counted(static_cast<std::int64_t>(names.size()), "file") + " in " + directory +
          " can be read: " + Counted(static_cast<std::int64_t>(all), "byte") + "."};
}

}  // namespace

ctDLlFlatFile::ctDLlFlatFile(const PanelServices& services) : DataLinkPanel(services) {
  optSourceFromFTP.Value.Set(true);
  optSourceFromFTP.Value.Observe([this](bool chosen) {
    optSourceFromShare.Value.Set(!chosen);
    WriteTransfer();
  });
  optSourceFromShare.Value.Observe([this](bool chosen) { optSourceFromFTP.Value.Set(!chosen); });
  cbSourceCopyRemData.Value.Observe([this](bool) { WriteTransfer(); });
  Writes(txtSourceDataDir, &cDataSource::strDSDirectory);
  Writes(txtSourceRemDataDir, &cDataSource::strRemoteDir);
  Writes(txtSourceFTPServer, &cDataSource::strFTPServer);
  Writes(txtSourceFTPUsername, &cDataSource::strFTPUser);
  Writes(txtSourceFTPPassword, &cDataSource::strFTPPassword);
  WritesMinutes(txtSourceRemPollInterval, &cDataSource::intPollInterval);
  WritesMinutes(txtSourceRemPollDuration, &cDataSource::intPollDuration);
  txtSourceRemPollInterval.Text.Observe([this](const std::string&) { ShowPause(); });
  lblPollDurMinutes.Caption.Set("minutes");
  EnableFields();
}

void ctDLlFlatFile::WritesMinutes(DigitsBox& box, std::int16_t cDataSource::*property) {
  box.Text.Observe([this, &box, property](const std::string&) {
    Write(property, WholeNumberOf(ado::Value(box.Text.Get())));
  });
}

void ctDLlFlatFile::WriteTransfer() {
  EnableFields();
  std::int16_t transfer = TransferNone;
  if (cbSourceCopyRemData.Value.Get())
    transfer = optSourceFromShare.Value.Get() ? TransferShare : TransferFtp;
  Write(&cDataSource::intTransferData, transfer);
}

/// What an interval of 0 means for data that is fetched.
void ctDLlFlatFile::ShowPause() {
  const std::string& interval = txtSourceRemPollInterval.Text.Get();
  const bool hasNone = interval.find_first_not_of('0') == interval.npos;
  lblPollIntMinutes.Caption.Set(hasNone && cbSourceCopyRemData.Value.Get()
                                    ? "minutes: 0 looks again and again without a pause"
                                    : "minutes");
}

void ctDLlFlatFile::EnableFields() {
  const bool copies = cbSourceCopyRemData.Value.Get();
  const bool byFtp = copies && !optSourceFromShare.Value.Get();
  const auto enable = [](bool on, std::initializer_list<Control*> controls) {
    for (Control* control : controls) control->Enabled.Set(on);
  };
  ShowPause();
  enable(copies,
         {&optSourceFromFTP, &optSourceFromShare, &lblSourceRemDataDir, &txtSourceRemDataDir,
          &lblSourceRemPollInterval, &txtSourceRemPollInterval, &lblPollIntMinutes,
          &lblSourceRemPollDuration, &txtSourceRemPollDuration, &lblPollDurMinutes});
  const char* const copiesNone = "No remote data is copied";
  cmdSourceRemDataDir.EnableUnless(!copies ? copiesNone
                                   : byFtp ? "A path of an FTP server cannot be browsed"
                                           : "");
  cmdTestFTP.EnableUnless(!copies ? copiesNone : byFtp ? "" : "The data comes from a share");
  enable(byFtp, {&lblSourceFTPServer, &lblSourceFTPUsername, &lblSourceFTPPassword,
                 &txtSourceFTPServer, &txtSourceFTPUsername, &txtSourceFTPPassword});
  imgRemoteDir.Visible.Set(copies);
  imgRemoteDirGrey.Visible.Set(!copies);
}

void ctDLlFlatFile::Blank(cDataSource& link) const {
  link.strDSServer.clear();
  link.blnDSTrustedLogin = false;
  link.strDSUser.clear();
  link.strDSPassword.clear();
  link.strDSDatabase.clear();
  link.strDSConnectString.clear();
}

void ctDLlFlatFile::Show(const cDataSource& link) {
  txtSourceDataDir.Text.Set(link.strDSDirectory);
  optSourceFromShare.Value.Set(link.intTransferData == TransferShare);
  cbSourceCopyRemData.Value.Set(link.intTransferData == TransferFtp ||
                                link.intTransferData == TransferShare);
  txtSourceRemDataDir.Text.Set(link.strRemoteDir);
  txtSourceFTPServer.Text.Set(link.strFTPServer);
  txtSourceFTPUsername.Text.Set(link.strFTPUser);
  txtSourceFTPPassword.Text.Set(link.strFTPPassword);
  txtSourceRemPollInterval.Show(link.intPollInterval);
  txtSourceRemPollDuration.Show(link.intPollDuration);
}

void ctDLlFlatFile::cmdSourceDataDir_Click() {
  std::string start = txtSourceDataDir.Text.Get();
  std::string folder = BrowseForFolder(services_.shell, start, "Select local Directory...");
  if (!folder.empty()) txtSourceDataDir.Text.Set(AddTrailingSeparator(folder));
}

void ctDLlFlatFile::txtSourceDataDir_LostFocus() {
  std::string folder = txtSourceDataDir.Text.Get();
  if (!folder.empty()) txtSourceDataDir.Text.Set(AddTrailingSeparator(folder));
}

void ctDLlFlatFile::cmdSourceRemDataDir_Click() {
  std::string start = txtSourceRemDataDir.Text.Get();
  const std::string folder = BrowseForFolder(services_.shell, start, "Select Remote Directory...");
  if (!folder.empty()) txtSourceRemDataDir.Text.Set(folder);
}

void ctDLlFlatFile::cmdTest_Click() {
  const cDataSource* const link = ObjDataSource();
  if (link == nullptr) return;
  Finding finding;
  const auto look = [&, directory = link->strDSDirectory,
                     areFetched = link->intTransferData != TransferNone] {
    finding = LookAt(services_.files, directory, areFetched);
  };
  services_.aside.Do(look, [&] { services_.messages.Box(finding.text, "Test", finding.icon); });
}

void ctDLlFlatFile::cmdTestFTP_Click() {
  FtpRights rights;
  const auto check =
      [&, server = txtSourceFTPServer.Text.Get(), directory = txtSourceRemDataDir.Text.Get(),
       user = txtSourceFTPUsername.Text.Get(), password = txtSourceFTPPassword.Text.Get()] {
        rights = services_.ftp.FindRights(server, kRightsFile, directory, user, password);
      };
  services_.aside.Do(check, [&] {
    if (services_.ftp.TellRights(rights))
      services_.messages.Box("Check operation succeeded! The user has read and write rights.",
                             "FTP Check", BoxIcon::Information);
  });
}

}  // namespace torvik
