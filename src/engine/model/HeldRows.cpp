#include <utility>

#include "engine/model/AdoParts.h"
#include "engine/model/Problems.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

class HeldRows final : public ado::Recordset {
 public:
  explicit HeldRows(ado::StatementResult result) : result_(std::move(result)) {}

  bool Eof() const override { return current_ >= result_.rows.size(); }
  void MoveNext() override { ++current_; }
  int FieldCount() const override { return static_cast<int>(result_.columns.size()); }
  std::string FieldName(int position) const override {
    return result_.columns.at(static_cast<std::size_t>(position));
  }
  ado::Value Field(int position) const override {
    return result_.rows.at(current_).at(static_cast<std::size_t>(position));
  }
  ado::Value Field(std::string_view name) const override {
    for (int i = 0; i < FieldCount(); ++i)
      if (EqualsIgnoringCase(FieldName(i), name)) return Field(i);
    throw PlatformError(3265, "the recordset has no field " + Quoted(std::string(name)),
                        kAdoRecordsetClass);
  }
  void SetField(std::string_view, ado::Value) override { RefuseChange(); }
  void Update() override { RefuseChange(); }
  void Close() override { result_ = {}; }

 private:
  [[noreturn]] static void RefuseChange() {
    throw PlatformError(3251, "the rows of a command cannot be changed; run an UPDATE",
                        kAdoRecordsetClass);
  }

  ado::StatementResult result_;
  std::size_t current_ = 0;
};

}  // namespace

std::unique_ptr<ado::Recordset> NewHeldRows(ado::StatementResult result) {
  return std::make_unique<HeldRows>(std::move(result));
}

}  // namespace torvik::engine
