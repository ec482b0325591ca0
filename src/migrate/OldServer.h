#pragma once

#include <string>

#include "migrate/Inventory.h"

namespace torvik::ado {
class Connection;
}

namespace torvik::migrate {

/// Each reads, changes nothing, and adds what it finds to the inventory, or to what could not be
/// read: a table may be missing, or the user may not see it. `msdb` is a connection to that
/// database of the old server.
void ReadPackages(ado::Connection& msdb, Inventory& inventory);
void ReadAgentJobs(ado::Connection& msdb, Inventory& inventory);
/// `warehouse` is a connection to the database of that name.
void ReadLinks(ado::Connection& warehouse, const std::string& database, Inventory& inventory);

/// The places that the dtsrun lines in the steps of the jobs name.
void AddAgentPlaces(Inventory& inventory);

}  // namespace torvik::migrate
