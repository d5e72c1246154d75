#include "benchmarks/Tables.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "benchmarks/GroupedNumber.hpp"
#include "kelto/foundation/Json.hpp"

namespace kelto::bench {

namespace {

constexpr double mega = 1e6;

[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

/// A number of bytes in a few characters.
std::string bytes(std::uint64_t number) {
    const auto real = static_cast<double>(number);
    if (number < 10'000) return std::to_string(number);
    if (real < mega) return formatted("%.0f kB", real / 1e3);
    if (real < 1e9) return formatted("%.1f MB", real / mega);
    return formatted("%.2f GB", real / 1e9);
}

const char* verdict(const std::optional<Goal>& goal) {
    if (!goal) return "";
    return goal->isMet ? "yes" : "NO";
}

/// Columns as wide as they need to be: the first to the left, the others to the right, in Markdown.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> titles) { add(std::move(titles)); }
    void add(std::vector<std::string> cells) { lines_.push_back(std::move(cells)); }
    [[nodiscard]] bool isEmpty() const { return lines_.size() == 1; }

    [[nodiscard]] std::string text() const {
        std::vector<std::size_t> widths(lines_.front().size(), 3);
        for (const auto& line : lines_) {
            for (std::size_t i = 0; i < line.size(); ++i) {
                widths[i] = std::max(widths[i], line[i].size());
            }
        }
        std::string out;
        for (std::size_t n = 0; n < lines_.size(); ++n) {
            for (std::size_t i = 0; i < widths.size(); ++i) {
                const std::string padding(widths[i] - lines_[n][i].size(), ' ');
                out += "| " + (i == 0 ? lines_[n][i] + padding : padding + lines_[n][i]) + ' ';
            }
            out += "|\n";
            if (n > 0) continue;
            for (std::size_t i = 0; i < widths.size(); ++i) {
                out += i == 0 ? "|:" + std::string(widths[i] + 1, '-')
                              : "|" + std::string(widths[i] + 1, '-') + ":";
            }
            out += "|\n";
        }
        return out;
    }

private:
    std::vector<std::vector<std::string>> lines_;
};

std::string workloadTable(const std::vector<Row>& rows) {
    TextTable table({"workload",
                     "items",
                     "runs",
                     "ms",
                     "floor ms",
                     "ratio",
                     "goal",
                     "met",
                     "payload read",
                     "written",
                     "rows",
                     "digests",
                     "records read",
                     "files",
                     "peak memory"});
    for (const Row& row : rows) {
        if (row.workload == "memory") continue;
        const auto goal = goalOf(row);
        table.add({row.workload,
                   grouped(row.items),
                   std::to_string(row.runs),
                   formatted("%.2f", row.milliseconds),
                   formatted("%.2f", row.floorMilliseconds),
                   formatted("%.2f", row.ratio()),
                   goal ? goal->text : "",
                   verdict(goal),
                   bytes(row.work[Work::payloadBytesRead]),
                   bytes(row.work[Work::payloadBytesWritten]),
                   grouped(row.work[Work::rowsWritten]),
                   grouped(row.work[Work::digests]),
                   grouped(row.work[Work::recordsRead]),
                   grouped(row.work[Work::filesWritten]),
                   bytes(row.peakBytes)});
    }
    return table.isEmpty() ? "" : table.text();
}

std::string foreignTable(const std::vector<Row>& rows) {
    TextTable table({"W6, items", "ms", "W1 in between, ms", "difference, ms"});
    for (const Row& row : rows) {
        if (row.workload != "W6") continue;
        table.add({grouped(row.items),
                   formatted("%.2f", row.milliseconds),
                   formatted("%.2f", row.unchangedMilliseconds),
                   formatted("%.2f", row.milliseconds - row.unchangedMilliseconds)});
    }
    return table.isEmpty() ? "" : "\n" + table.text();
}

std::string largeTable(const std::vector<Row>& rows) {
    TextTable table({"W7, payload", "MB/s", "MB/s of the loop", "share", "memory above idle"});
    for (const Row& row : rows) {
        if (row.workload != "W7") continue;
        const double megabytes = static_cast<double>(row.requestBytes) / mega;
        table.add({bytes(row.requestBytes),
                   formatted("%.0f", megabytes / row.milliseconds * 1e3),
                   formatted("%.0f", megabytes / row.floorMilliseconds * 1e3),
                   formatted("%.2f", 1 / row.ratio()),
                   bytes(row.peakBytes - row.idleBytes)});
    }
    return table.isEmpty() ? "" : "\n" + table.text();
}

std::string residentTable(const std::vector<Row>& rows) {
    TextTable table({"memory after W1, items", "resident", "request", "goal", "limit", "met"});
    for (const Row& row : rows) {
        if (row.workload != "memory") continue;
        const auto goal = goalOf(row);
        const auto limit =
            static_cast<std::uint64_t>(2.5 * static_cast<double>(row.requestBytes) + 30 * mega);
        table.add({grouped(row.items),
                   bytes(row.residentBytes),
                   bytes(row.requestBytes),
                   goal->text,
                   bytes(limit),
                   verdict(goal)});
    }
    return table.isEmpty() ? "" : "\n" + table.text();
}

std::string stageTables(const std::vector<Row>& rows) {
    std::string out;
    for (const Row& row : rows) {
        if (row.stages.empty()) continue;
        std::vector<std::string> titles{"stages, ms"};
        std::vector<std::string> times{row.workload + ", " + grouped(row.items)};
        double sum = 0;
        for (const Stage& stage : row.stages) {
            titles.push_back(stage.name);
            times.push_back(formatted("%.2f", stage.time.count()));
            sum += stage.time.count();
        }
        titles.emplace_back("rest");
        times.push_back(formatted("%.2f", row.milliseconds - sum));
        TextTable table(titles);
        table.add(times);
        out += "\n" + table.text();
    }
    return out;
}

JsonValue number(std::uint64_t value) {
    return static_cast<std::int64_t>(value);
}

JsonMembers membersOf(const Row& row) {
    JsonMembers members{{"workload", row.workload},
                        {"items", number(row.items)},
                        {"runs", number(row.runs)},
                        {"milliseconds", row.milliseconds},
                        {"fastestMilliseconds", row.fastestMilliseconds},
                        {"requestBytes", number(row.requestBytes)},
                        {"peakBytes", number(row.peakBytes)}};
    const auto add = [&](const char* key, const JsonValue& value) {
        members.emplace_back(key, value);
    };
    if (row.floorMilliseconds > 0) {
        add("floorMilliseconds", row.floorMilliseconds);
        add("fastestFloorMilliseconds", row.fastestFloorMilliseconds);
        add("ratio", row.ratio());
    }
    if (row.responseBytes > 0) add("responseBytes", number(row.responseBytes));
    if (row.residentBytes > 0) add("residentBytes", number(row.residentBytes));
    if (row.idleBytes > 0) add("idleBytes", number(row.idleBytes));
    if (row.unchangedMilliseconds > 0) add("unchangedMilliseconds", row.unchangedMilliseconds);
    if (const auto goal = goalOf(row)) {
        add("goal", goal->text);
        add("isMet", goal->isMet);
    }
    const char* const names[workKindCount] = {"payloadBytesRead",
                                              "payloadBytesWritten",
                                              "digests",
                                              "rowsWritten",
                                              "filesWritten",
                                              "filesExamined",
                                              "recordsRead",
                                              "objectsLoaded",
                                              "thingsPrinted"};
    for (std::size_t kind = 0; kind < workKindCount; ++kind) {
        add(names[kind], number(row.work.amounts[kind]));
    }
    JsonMembers stages;
    for (const Stage& stage : row.stages) stages.emplace_back(stage.name, stage.time.count());
    if (!stages.empty()) add("stages", stages);
    return members;
}

}  // namespace

std::string tables(const std::vector<Row>& rows) {
    return workloadTable(rows) + foreignTable(rows) + largeTable(rows) + residentTable(rows) +
           stageTables(rows);
}

std::string jsonOf(const std::vector<Row>& rows) {
    std::string out = "[";
    for (const Row& row : rows) {
        out += (out.size() > 1 ? ",\n " : "") + JsonValue(membersOf(row)).text();
    }
    return out + "]\n";
}

}  // namespace kelto::bench
