#pragma once

#include <cstdint>
#include <string>

#include "platform/VariantBool.h"

namespace torvik {

namespace ado {
class Connection;
class Recordset;
}  // namespace ado

/// How a data link's remote data is fetched (intTransferData).
inline constexpr std::int16_t TransferNone = 0;
inline constexpr std::int16_t TransferFtp = 1;
inline constexpr std::int16_t TransferShare = 2;

/// Kinds of data link (etlType). Any other number is kept, and names nothing that can be opened.
inline constexpr std::int32_t EtlSqlServer = 1;
inline constexpr std::int32_t EtlFlatFile = 3;  ///< Saving it completes its directories.
inline constexpr std::int32_t EtlExcel = 4;
inline constexpr std::int32_t EtlAccess = 5;
inline constexpr std::int32_t EtlOracle = 6;
inline constexpr std::int32_t EtlOracleSchemas = 7;  ///< Oracle too, to list its schemas.
inline constexpr std::int32_t EtlQuorServer = 8;     ///< Flat files that the maker's server leaves.

/// One data link: where one input of a package comes from. Values are kept as they are set.
class cDataSource {
 public:
  std::string strModelName;  ///< ETL model that the link belongs to.
  std::string strName;       ///< Unique within its model.
  std::int32_t etlType = 0;
  std::string strDSServer;
  std::string strDSDatabase;
  bool blnDSTrustedLogin = false;
  std::string strDSUser;
  std::string strDSPassword;  ///< In clear.
  std::string strDSFile;
  std::string strDSDirectory;      ///< Local directory of flat files.
  std::string strDSConnectString;  ///< May hold a password.
  std::int16_t intTransferData = 0;
  std::string strFTPServer;
  std::string strFTPUser;
  std::string strFTPPassword;  ///< In clear.
  std::string strRemoteDir;
  std::int16_t intPollInterval = 0;  ///< Minutes.
  std::int16_t intPollDuration = 0;  ///< Minutes.

  /// Fills the record from its row of dwm_data_link. The row is the one of the record's own model
  /// and name, put into the query without quotes; both arguments are ignored. Throws PlatformError
  /// when there is no such row; the fields read before the failure keep their new values.
  void Load(ado::Connection& dataWarehouse, const std::string& strModel,
            const std::string& strDataSourceName);

  /// Fills every field but the model from a row of dwm_data_link. Throws PlatformError at a field
  /// that is missing or of no use; the fields before it keep their new values.
  void ReadRow(const ado::Recordset& row);

  /// Stores the record's connection fields in its existing row; model, name and kind are never
  /// written. A flat-file link's directories get their trailing separators first, here too. Throws
  /// PlatformError when there is no row of that model and name.
  void Save(ado::Connection& dataWarehouse);

 private:
  void AddDirectorySeparators();
};

}  // namespace torvik
