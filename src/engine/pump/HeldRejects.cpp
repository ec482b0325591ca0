#include "engine/pump/HeldRejects.h"

#include <algorithm>
#include <utility>

#include "engine/pump/CsvLine.h"

namespace torvik::engine {

class HeldRejects::Part final : public RejectedRows {
 public:
  explicit Part(HeldRejects& all) : all_(all) {}

  void Add(const BadRow& row, const RowSource&) override {
    Row held{row.origin, std::string(row.origin.bytes), row.error, std::exchange(sent_, {})};
    held.origin.bytes = {};
    all_.Hold(std::move(held));
  }
  void AddSent(std::span<const ado::LoadValue> sent, std::span<const std::string>) override {
    sent_ = CsvLine(sent);
  }
  void Flush() override {}
  void End(const PumpCounts&, const std::string&) override {}

 private:
  HeldRejects& all_;
  std::string sent_;
};

HeldRejects::HeldRejects(std::int64_t tolerated, std::function<void()> stop, std::size_t mostBytes)
    : tolerated_(tolerated), stop_(std::move(stop)), mostBytes_(mostBytes) {}

std::unique_ptr<RejectedRows> HeldRejects::NewPart() {
  return std::make_unique<Part>(*this);
}

bool HeldRejects::AreTooMany() const {
  return count_ > tolerated_;
}

void HeldRejects::Hold(Row row) {
  {
    const std::lock_guard lock(mutex_);
    ++count_;
    bytes_ += sizeof row + row.bytes.size() + row.sent.size() + row.error.reason.size() * 2 +
              row.error.value.size();
    if (bytes_ <= mostBytes_)
      rows_.push_back(std::move(row));
    else
      isFull_ = true;
  }
  if (AreTooMany() || isFull_) stop_();
}

std::vector<HeldRejects::Row> HeldRejects::TakeInOrder() {
  std::ranges::stable_sort(rows_, {}, [](const Row& row) { return row.origin.offset; });
  return std::exchange(rows_, {});
}

}  // namespace torvik::engine
