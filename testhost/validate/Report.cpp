#include "testhost/validate/Report.h"

#include "testhost/validate/Json.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>

namespace {
std::string Counted(size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string Seconds(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", seconds);
    return text;
}

std::string StateOf(const CheckResult& result) {
    if (!result.error.empty()) {
        return "NOT DONE: " + result.error;
    }
    if (!result.skipped.empty()) {
        return "skipped: " + result.skipped;
    }
    const std::string played =
        " (" + Counted(result.sessions, "session") + ", " + Seconds(result.seconds) + " s)";
    return (result.findings.empty()
                ? "held"
                : Counted(result.findings.size() + result.findingsNotKept, "finding")) +
           played;
}

std::string DescribeFinding(const Finding& finding, unsigned long seed) {
    std::string text = finding.sentence + "\n";
    for (const std::string& call : finding.calls) {
        text += "  in " + call + "\n";
    }
    text += "  host " + finding.version + ", " + finding.role + ", seed " + std::to_string(seed);
    text += finding.statement.empty() ? "" : "; " + finding.statement;
    text += finding.times > 1 ? "; " + std::to_string(finding.times) + " times" : "";
    if (finding.file.empty()) {
        return text + "\n";
    }
    text += "\n  session: " + finding.file;
    return text + (finding.isReproduced ? "" : " (which does not show it by itself)") + "\n";
}

// Bytes as XML shows them: what it cannot hold is a question mark.
std::string Escaped(const std::string& text) {
    std::string escaped;
    // Through JSON, whose writer replaces what is no UTF-8.
    for (const char character :
         nlohmann::json::parse(LineOf(nlohmann::json(text))).get<std::string>()) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\n':
            escaped += "&#10;";
            break;
        default:
            escaped += character >= 0 && character < ' ' ? '?' : character;
        }
    }
    return escaped;
}

std::string Attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + Escaped(value) + "\"";
}

std::string TestCase(const CheckResult& result, unsigned long seed) {
    std::string text = "    <testcase" + Attribute("classname", result.plugin) +
                       Attribute("name", result.check) +
                       Attribute("time", Seconds(result.seconds)) + ">\n";
    if (!result.skipped.empty()) {
        text += "      <skipped" + Attribute("message", result.skipped) + "/>\n";
    }
    if (!result.error.empty()) {
        text += "      <error" + Attribute("message", result.error) + "/>\n";
    }
    for (const Finding& finding : result.findings) {
        text += "      <failure" + Attribute("message", finding.sentence) + ">" +
                Escaped(DescribeFinding(finding, seed) + "\n" + finding.script) + "</failure>\n";
    }
    return text + "    </testcase>\n";
}

std::string Property(const char* name, const std::string& value) {
    return "      <property" + Attribute("name", name) + Attribute("value", value) + "/>\n";
}

std::string TestSuite(const std::string& plugin, const std::vector<const CheckResult*>& results,
                      const Report& report) {
    const auto count = [&](auto wanted) {
        return std::to_string(std::ranges::count_if(results, wanted));
    };
    std::string text =
        "  <testsuite" + Attribute("name", plugin) +
        Attribute("tests", std::to_string(results.size())) +
        Attribute("failures", count([](const auto* result) { return !result->findings.empty(); })) +
        Attribute("errors", count([](const auto* result) { return !result->error.empty(); })) +
        Attribute("skipped", count([](const auto* result) { return !result->skipped.empty(); })) +
        ">\n    <properties>\n" + Property("seed", std::to_string(report.seed)) +
        Property("strictness", std::to_string(report.strictness)) + "    </properties>\n";
    for (const CheckResult* result : results) {
        text += TestCase(*result, report.seed);
    }
    return text + "  </testsuite>\n";
}
} // namespace

bool Report::IsGood() const {
    const auto hasRun = [](const CheckResult& result) { return result.HasRun(); };
    const auto isBad = [](const CheckResult& result) {
        return !result.error.empty() || !result.findings.empty();
    };
    return std::ranges::any_of(results, hasRun) && std::ranges::none_of(results, isBad);
}

std::string Report::Summary() const {
    const auto count = [&](auto wanted) {
        return static_cast<size_t>(std::ranges::count_if(results, wanted));
    };
    const size_t held = count([](const CheckResult& result) { return result.Held(); });
    const size_t skipped = count([](const CheckResult& result) { return !result.skipped.empty(); });
    const size_t notDone = count([](const CheckResult& result) { return !result.error.empty(); });
    size_t findings = 0;
    for (const CheckResult& result : results) {
        findings += result.findings.size() + result.findingsNotKept;
    }
    std::string text = Counted(results.size(), "check") + ": " + std::to_string(held) + " held, " +
                       std::to_string(results.size() - held - skipped - notDone) + " with " +
                       Counted(findings, "finding") + ", " + std::to_string(skipped) + " skipped";
    text += notDone > 0 ? ", " + std::to_string(notDone) + " not done" : "";
    return text + "; strictness " + std::to_string(strictness) + ", seed " + std::to_string(seed);
}

void PrintResult(const CheckResult& result, unsigned long seed, std::ostream& out) {
    constexpr size_t width = 12;
    std::string name = result.check;
    name.resize(std::max(name.size(), width), ' ');
    out << result.plugin << "  " << name << "  " << StateOf(result) << "\n";
    for (const std::string& note : result.notes) {
        out << "  note: " << note << "\n";
    }
    for (const Finding& finding : result.findings) {
        out << "FINDING " << result.plugin << " " << result.check << ": "
            << DescribeFinding(finding, seed);
    }
    if (result.findingsNotKept > 0) {
        out << "  and " << result.findingsNotKept << " more\n";
    }
    out << std::flush;
}

std::string JsonOf(const Report& report) {
    nlohmann::json json = {{"strictness", report.strictness},
                           {"seed", report.seed},
                           {"good", report.IsGood()},
                           {"checks", report.results}};
    return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string JunitOf(const Report& report) {
    std::map<std::string, std::vector<const CheckResult*>> suites;
    for (const CheckResult& result : report.results) {
        suites[result.plugin].push_back(&result);
    }
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n";
    for (const auto& [plugin, results] : suites) {
        text += TestSuite(plugin, results, report);
    }
    return text + "</testsuites>\n";
}
