#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace torvik {

namespace ado {
class Provider;
}
class DropDown;

/// The ETL model of a package name: what stands before the first suffix of the naming rule
/// ("_Init", "_LoadDW", ...) that occurs in it, letter case aside. Empty when none occurs.
std::string ModelNameFromPackage(std::string_view packageName);

/// The packages of a server and the ETL models that their names tell of.
class ETLPackages {
 public:
  explicit ETLPackages(ado::Provider& databases) : databases_(databases) {}

  std::string strSQLServer;
  bool blnSQLTrustedLogin = false;  ///< With the account of the process.
  std::string strSQLUser;
  std::string strSQLPassword;  ///< In clear.

  /// Appends the server's packages to those that were read before, in the server's order. A model
  /// that is known already, letter case aside, keeps its first spelling. False when the names could
  /// not all be read; those that came stay.
  bool RetrievePackages();

  /// Refills the list with the models, in the order in which they were first met.
  void FillComboBoxWithETLModels(DropDown& oComboBox) const;

  /// Refills the list with the packages of exactly that model, in the order in which they were
  /// read.
  void FillComboBoxWithPackageFromETLModel(DropDown& oComboBox, const std::string& strModel) const;

 private:
  void ReadNames();
  void AddPackage(std::string name);

  ado::Provider& databases_;
  std::vector<std::string> packages_;
  std::vector<std::string> models_;  ///< Among them the empty one.
};

}  // namespace torvik
