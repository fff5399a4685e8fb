// Runs the benchmarks and then prints how each of our rows compares with its bare equivalent. A
// row names that equivalent in its label, as "vs OTHER ROW". Of rows with the counter "items" it is
// the time of an item that is compared.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace {

class RatioReporter : public benchmark::ConsoleReporter {
  public:
    /// Notes every repetition, and shows the median of them.
    void ReportRuns(const std::vector<Run>& runs) override {
        std::vector<Run> shown;
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                Note(run);
            }
            if (run.repetitions <= 1 || run.aggregate_name == "median") {
                shown.push_back(run);
            }
        }
        ConsoleReporter::ReportRuns(shown);
    }

    /// The quickest of the repetitions counts: whatever else the machine does only adds time.
    void PrintRatios() const {
        std::printf("\nTime of a row divided by that of its bare equivalent:\n");
        for (const auto& [row, other] : equivalents) {
            const auto bare = quickest.find(other);
            if (bare != quickest.end()) {
                std::printf("%8.2f  %s / %s\n", quickest.at(row) / bare->second, row.c_str(),
                            other.c_str());
            }
        }
    }

  private:
    void Note(const Run& run) {
        constexpr std::string_view Mark = "vs ";
        const std::string& arguments = run.run_name.args;
        const std::string name =
            run.run_name.function_name + (arguments.empty() ? "" : "/" + arguments);
        const auto items = run.counters.find("items");
        const double time =
            run.GetAdjustedRealTime() / (items == run.counters.end() ? 1 : items->second.value);
        const auto [place, isNew] = quickest.emplace(name, time);
        place->second = std::min(place->second, time);
        if (isNew && run.report_label.starts_with(Mark)) {
            equivalents.emplace_back(name, run.report_label.substr(Mark.size()));
        }
    }

    std::map<std::string, double> quickest;
    std::vector<std::pair<std::string, std::string>> equivalents;
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}
