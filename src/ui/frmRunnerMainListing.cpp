// The data links of a job that was opened, listed by themselves. That is a view: what saves or
// executes the job reads them anew, or goes by what the operator has chosen and edited.

#include <utility>

#include "platform/PlatformError.h"
#include "startup/Program.h"
#include "ui/frmRunnerMain.h"

namespace torvik {

LinkLoader::Wanted frmRunnerMain::ListingInFields() const {
  return {TorvConfigFile, cmbETLPackage.Text.Get(), WarehouseLogon(), cmbDestDB.Text.Get()};
}

void frmRunnerMain::ListLinks() {
  DropListing();
  if (!StartInConfigMode || !isOpen_ || !cmdLoadDataLinks.Enabled.Get()) return;
  linkLoader_.Begin(ListingInFields());
  LinksNote.Set("Reading the data links ...");
  ListsLinks.Set(true);
}

void frmRunnerMain::DropListing() {
  linkLoader_.Forget();
  LinksNote.Set("");
  ListsLinks.Set(false);
}

void frmRunnerMain::TakeLinks() {
  auto answer = linkLoader_.Take();
  if (!answer) return;
  DropListing();
  const bool isUntouched = panel_ == nullptr && editedLinks_.empty() && !Busy.Get();
  if (isUntouched && answer->wanted == ListingInFields()) ShowListing(std::move(*answer));
}

void frmRunnerMain::ShowListing(LinkLoader::Answer answer) {
  const std::string unread = "The data links cannot be read now. Load tries again, and says why.";
  if (!answer.links) return LinksNote.Set(unread);
  std::vector<std::string> names;
  program_.dataLinks.ReplaceDataLinks(std::move(answer.links), answer.wanted.package, names);
  isWarehouseOfLinks_ = false;
  try {
    ShowLinks(std::move(names), true);
  } catch (const PlatformError&) {  // a section of the job file is of no use
    ReleaseLinks();
    return LinksNote.Set(unread);
  }
  if (lstDataLinks.List.Get().empty())
    LinksNote.Set("The data warehouse has no data links for this package's model.");
}

}  // namespace torvik
