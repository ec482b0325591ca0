#include "config/JobSettings.h"

#include <gmock/gmock.h>

#include "config/DataLinkSections.h"
#include "config/modCypher.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeFiles.h"
#include "fakes/FakeProfile.h"
#include "fakes/TemporaryDirectory.h"
#include "platform/linux/settings/ProfileFiles.h"
#include "platform/linux/system/PosixFiles.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

struct RecordingSectionWriter final : DataLinkSectionWriter {
  void WriteDataLinkSections(const std::string& file) override { files.push_back(file); }
  std::vector<std::string> files;
};

/// What reading one and the same file must give, whoever wrote it.
JobSettings Example() {
  JobSettings job;
  job.DTSPackageName = "Sales_LoadDW";
  job.ExceptionLogFile = R"(C:\Logs\Fehlerprüfung.txt)";
  job.LogFileDir = R"(C:\Logs\Sales\)";
  job.TruncateExceptionLogFile = VariantTrue;
  job.DTSServer = "(local)";
  job.DTSServerTrustedLogin = VariantTrue;
  job.DTSLoginUserName = "sa";
  job.DTSLoginPassword = ",";  // scrambles to a text that ends in a blank
  job.DWServer = R"(DWPROD\first)";
  job.DWServerTrustedLogin = 1;  // neither True nor False
  job.DWServerLoginUserName = "loader";
  job.DWServerLoginPassword = "secret";
  job.DWDatabaseName = "dw";
  return job;
}

constexpr const char* kNewFile =
    "[Package Info]\r\nPackage=Sales_LoadDW\r\nLogFile=C:\\Logs\\Fehlerpr\xFC"
    "fung.txt\r\n"
    "LogFileDir=C:\\Logs\\Sales\\\r\nUseDefaultLogFileDir=FALSE\r\nTruncLogFile=TRUE\r\n"
    "WriteEvent=FALSE\r\n"
    "[DTS Server Info]\r\nDTSServer=(local)\r\nDTSNTAut=TRUE\r\nDTSUser=sa\r\nDTSPwd=\"6m \"\r\n"
    "[Datawarehouse Server Info]\r\nDWServer=DWPROD\\first\r\nDWNTAut=FALSE\r\nDWUser=loader\r\n"
    "DWPwd=6mgc+-UU\r\nDWDB=dw\r\n";

class JobFile : public testing::Test {
 protected:
  JobFileServices Services() { return {*profile_, *files_, codePages_->Ansi(), clock_, sections_}; }
  bool Read(JobSettings& job, const std::string& name) {
    job.TorvConfigFile = directory_.PathOf(name);
    return job.ReadConfigFile(Services());
  }
  bool Write(JobSettings& job, const std::string& name) {
    job.TorvConfigFile = directory_.PathOf(name);
    return job.WriteConfigFile(Services(), error_);
  }

  TemporaryDirectory directory_;
  FakeClock clock_;
  std::error_code error_;
  RecordingSectionWriter sections_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::unique_ptr<Profile> profile_ = NewProfileFiles(PathMap(), *codePages_);
  std::unique_ptr<Files> files_ = NewPosixFiles(PathMap(), *codePages_, directory_.Path());
};

TEST_F(JobFile, ANewFileHasEverySettingInItsOrderAndIsReadBack) {
  JobSettings written = Example();
  EXPECT_TRUE(Write(written, "new.etl"));
  EXPECT_EQ(directory_.Read("new.etl"), kNewFile);
  EXPECT_THAT(sections_.files, testing::ElementsAre(directory_.PathOf("new.etl")));
  JobSettings read;
  ASSERT_TRUE(Read(read, "new.etl"));
  EXPECT_EQ(sections_.files.size(), 1u);
  EXPECT_EQ(read.DWServerTrustedLogin, VariantFalse);
  EXPECT_EQ(read.DTSServerTrustedLogin, VariantTrue);
  // The rest is what is written back: one byte that differs would show it.
  EXPECT_TRUE(Write(read, "again.etl"));
  EXPECT_EQ(directory_.Read("again.etl"), kNewFile);
}

TEST_F(JobFile, AFileOfAnotherInstallationKeepsEveryByteButTheScrambledOnes) {
  // Its own order, spacing, comments, letter case, a byte without a character, no last line end.
  const std::string before =
      "; nightly load\r\n\r\n[DATAWAREHOUSE SERVER INFO]\r\nDWDB = dw\r\ndwpwd=";
  const std::string between =
      "\r\nDWServer=P\r\nDWNTAut=FALSE\r\nDWUser=\r\n\r\n[Other tool]\r\n"
      "Note=\x81\xE9\t \r\nno key\r\n"
      "[Package Info]\r\nPackage=Sales_LoadDW\r\nLogFile=\xFC.txt\r\nLogFileDir=\r\n"
      "UseDefaultLogFileDir=FALSE\r\nTruncLogFile=TRUE\r\nWriteEvent=FALSE\r\n;WriteEvent=TRUE\r\n"
      "[DTS Server Info]\r\nDTSServer=\r\nDTSNTAut=TRUE\r\nDTSUser=sa\r\nDTSPwd=";
  for (const bool isLinux : {false, true}) {
    const auto spelled = [&](std::string text) {
      if (isLinux) std::erase(text, '\r');
      return text;
    };
    directory_.Write("old.etl", spelled(before + "8vgc+-UU" + between + "\"8v \""));
    directory_.SetMode("old.etl", 0640);
    JobSettings job;
    ASSERT_TRUE(Read(job, "old.etl"));
    EXPECT_EQ(job.DTSLoginPassword, ",");
    EXPECT_EQ(job.DWServerLoginPassword, "secret");
    EXPECT_TRUE(Write(job, "old.etl"));
    EXPECT_EQ(directory_.Read("old.etl"), spelled(before + "6mgc+-UU" + between + "\"6m \""));
    EXPECT_EQ(directory_.ModeOf("old.etl"), 0640);
  }
}

TEST_F(JobFile, AnAbsentKeyResetsItsSetting) {
  directory_.Write("part.etl", "[Package Info]\nPackage=P\nWriteEvent=\nTruncLogFile=0\n");
  JobSettings job = Example();
  ASSERT_TRUE(Read(job, "part.etl"));
  EXPECT_EQ(job.DTSPackageName, "P");
  EXPECT_EQ(job.WriteCompletionStatusToNT, VariantTrue);  // there, and not FALSE
  EXPECT_EQ(job.LogFileDir, "");
  EXPECT_EQ(job.DTSServerTrustedLogin, VariantFalse);
  EXPECT_EQ(job.DWServerLoginPassword, "");
}

TEST_F(JobFile, WithoutAFileNothingChanges) {
  JobSettings job = Example();
  directory_.Write("folder/x", "");
  for (const char* name : {"missing.etl", "folder"}) EXPECT_FALSE(Read(job, name)) << name;
  EXPECT_EQ(job.DTSPackageName, "Sales_LoadDW");
  directory_.Write("empty.etl", "");
  EXPECT_TRUE(Read(job, "empty.etl"));
  EXPECT_EQ(job.DTSPackageName, "");
  job.TorvConfigFile.clear();
  EXPECT_FALSE(job.WriteConfigFile(Services(), error_));
  EXPECT_TRUE(sections_.files.empty());
  EXPECT_FALSE(Write(job, "missing/new.etl"));
  EXPECT_EQ(error_, std::errc::no_such_file_or_directory);
}

TEST_F(JobFile, AFileThatCannotBeOpenedIsNotReadAndTheLastKeyDecidesWhetherItIsWritten) {
  FakeFiles files;
  FakeProfile profile;
  const JobFileServices services{profile, files, codePages_->Ansi(), clock_, sections_};
  JobSettings job = Example();
  job.TorvConfigFile = "job.etl";
  files.Put("job.etl", "");
  profile.unreadableFile = "job.etl";
  EXPECT_FALSE(job.ReadConfigFile(services));
  profile.unreadableFile.clear();
  EXPECT_EQ(job.DTSPackageName, "Sales_LoadDW");
  for (const char* key : {"-", "Package", "DWPwd", "DWDB"}) {
    profile.failingKey = key;
    EXPECT_EQ(job.WriteConfigFile(services, error_), key != std::string("DWDB")) << key;
  }
  EXPECT_EQ(sections_.files.size(), 4u);
}

}  // namespace
}  // namespace torvik
