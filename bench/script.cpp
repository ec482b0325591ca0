// Times scripts that run once a row against plain C++ that does the same. See README.md.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "platform/Clock.h"
#include "script/Script.h"

using namespace torvik;
using namespace torvik::script;

namespace {

class SystemClock final : public Clock {
 public:
  std::chrono::system_clock::time_point Now() override { return std::chrono::system_clock::now(); }
  std::tm LocalTime() override {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local;
  }
  std::chrono::steady_clock::time_point Steady() override {
    return std::chrono::steady_clock::now();
  }
  void Sleep(std::chrono::milliseconds) override {}
};

/// A row of columns in memory, as a pump lends it.
class Row final : public Object {
 public:
  std::vector<Value> values = std::vector<Value>(3);

  std::string_view TypeName() const override { return "Row"; }
  int FindMember(std::string_view name) const override { return name.empty() ? 0 : NoMember; }
  int ItemNumber(const Value& key) override { return key.View()[0] - 'a'; }
  Value Invoke(Context&, int, std::span<const Value>) override { return {}; }
  Value Item(Context&, int number) override { return values[static_cast<std::size_t>(number)]; }
  void PutItem(Context&, int number, const Value& value) override {
    values[static_cast<std::size_t>(number)] = value;
  }
};

constexpr const char* transformation = R"(
Function Main()
  If IsNull(DTSSource("a")) Then
    Main = 2
  Else
    DTSDestination("a") = UCase(Trim(DTSSource("a")))
    DTSDestination("b") = DTSSource("b") * 2 + 1
    If DTSSource("c") > 100 Then DTSDestination("c") = "large" Else DTSDestination("c") = "small"
    Main = 1
  End If
End Function)";
constexpr int transformationStatements = 6;

constexpr const char* loop = R"(
Function Main(n)
  total = 0
  For i = 1 To n
    If i Mod 3 = 0 Then
      total = total + i
    Else
      total = total - 1
    End If
  Next
  Main = total
End Function)";

double Seconds(const std::function<void()>& work) {
  const auto now = [] {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
  };
  std::vector<double> times;
  for (int i = 0; i < 5; ++i) {
    const double start = now();
    work();
    times.push_back(now() - start);
  }
  std::ranges::sort(times);
  return times[times.size() / 2];
}

std::string PlainRow(const std::string& a) {
  std::string text = a.substr(0, a.find_last_not_of(' ') + 1);
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  return text;
}

/// The loop again, in doubles where the script's totals become so.
double PlainLoop(std::int64_t n) {
  double total = 0;
  for (std::int64_t i = 1; i <= n; ++i) {
    if (i % 3 == 0)
      total += static_cast<double>(i);
    else
      total -= 1;
    asm volatile("" : "+x"(total));  // one addition after the other, as in the script
  }
  return total;
}

void BenchRows(Clock& clock, int rows) {
  const Value source = NewObject<Row>(), destination = NewObject<Row>();
  Script script(
      transformation,
      {.clock = clock, .names = {{"DTSSource", source}, {"DTSDestination", destination}}});
  auto& values = static_cast<Row&>(*source.AsObject()).values;
  const int main = script.FindProcedure("Main");
  const double scripted = Seconds([&] {
    for (int i = 0; i < rows; ++i) {
      values = {Value::OfText("some text  "), Value::OfLong(i), Value::OfLong(i % 200)};
      script.Call(main);
    }
  });
  std::size_t bytes = 0;
  const double plain = Seconds([&] {
    for (int i = 0; i < rows; ++i) {
      const std::string a = PlainRow("some text  "), c = i % 200 > 100 ? "large" : "small";
      bytes += a.size() + c.size() + static_cast<std::size_t>(2 * i + 1);
    }
  });
  std::printf(
      "rows: %.1f million a minute, %.1f million statements/s; plain C++ %.1f million "
      "rows a minute (%zu)\n",
      rows / scripted * 60 / 1e6, rows * transformationStatements / scripted / 1e6,
      rows / plain * 60 / 1e6, bytes % 10);
}

void BenchLoop(Clock& clock, std::int32_t passes) {
  Script script(loop, {.clock = clock}, {.steps = ~std::uint64_t{0}});
  const int main = script.FindProcedure("Main");
  const Value n = Value::OfLong(passes);
  double total = 0;
  const double scripted = Seconds([&] { script.Call(main, {&n, 1}); });
  const double plain = Seconds([&] { total = PlainLoop(passes); });
  std::printf(
      "loop: %.1f million statements/s; plain C++ %.0f million statements/s, ratio %.0f "
      "(%.0f)\n",
      3.0 * passes / scripted / 1e6, 3.0 * passes / plain / 1e6, scripted / plain, total);
}

}  // namespace

int main(int argc, char** argv) {
  const int rows = argc > 1 ? std::max(1, std::atoi(argv[1])) : 500'000;
  SystemClock clock;
  BenchRows(clock, rows);
  BenchLoop(clock, rows * 4);
}
