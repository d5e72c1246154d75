#include <algorithm>
#include <cmath>
#include <cstdio>

#include "benchmarks/GroupedNumber.hpp"
#include "benchmarks/Growth.hpp"

namespace kelto::bench {

namespace {

constexpr double width = 720;
constexpr double height = 440;
constexpr double left = 86;
constexpr double right = 48;
constexpr double top = 56;
constexpr double bottom = 62;

// Strong enough on white and on black; greys for everything that is not a measurement.
constexpr const char* style = R"(<style>
    text { font: 13px system-ui, sans-serif; fill: #57606a }
    .title { font-size: 15px; font-weight: 600; fill: #24292f }
    .grid { stroke: #8c959f; stroke-opacity: .35 }
    .line { fill: none; stroke-width: 2 }
    .exchange { stroke: #0a7ea4; } .exchange-dot, .exchange-text { fill: #0a7ea4 }
    .floor { stroke: #b7600a; stroke-dasharray: 6 4 } .floor-dot, .floor-text { fill: #b7600a }
    @media (prefers-color-scheme: dark) {
        text { fill: #9ea7b3 } .title { fill: #e6edf3 }
        .exchange { stroke: #4cc2e8 } .exchange-dot, .exchange-text { fill: #4cc2e8 }
        .floor { stroke: #f0a14f } .floor-dot, .floor-text { fill: #f0a14f }
    }
</style>
)";

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

/// 10 to the power of so much.
std::string countText(int power) {
    return grouped(static_cast<std::uint64_t>(std::pow(10, power)));
}

/// 10 to the power of so many milliseconds, in few characters.
std::string timeText(int power) {
    constexpr int second = 3;
    if (power >= second) return countText(power - second) + " s";
    if (power >= 0) return countText(power) + " ms";
    char text[32];
    std::snprintf(text, sizeof text, "%.*f ms", -power, std::pow(10, power));
    return text;
}

std::string label(double x, double y, const char* attributes, const std::string& text) {
    return "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\" " + attributes + ">" + text +
           "</text>\n";
}

std::string line(double x1, double y1, double x2, double y2, const char* classes) {
    return "<line x1=\"" + number(x1) + "\" y1=\"" + number(y1) + "\" x2=\"" + number(x2) +
           "\" y2=\"" + number(y2) + "\" class=\"" + classes + "\"/>\n";
}

/// From one power of ten to another, along one side of the plot.
struct LogAxis {
    int first = 0;
    int last = 1;
    double from = 0;
    double to = 0;

    [[nodiscard]] double at(double value) const {
        return from + (std::log10(value) - first) / (last - first) * (to - from);
    }
};

class Plot {
public:
    explicit Plot(const Growth& growth) : growth_(growth) {
        double lowest = growth.rows.front().milliseconds;
        double highest = lowest;
        for (const Row& row : growth.rows) {
            lowest = std::min({lowest, row.milliseconds, row.floorMilliseconds});
            highest = std::max({highest, row.milliseconds, row.floorMilliseconds});
        }
        x_ = {floorPower(static_cast<double>(growth.rows.front().items)),
              ceilingPower(static_cast<double>(growth.rows.back().items)),
              left,
              width - right};
        y_ = {floorPower(lowest), ceilingPower(highest), height - bottom, top};
    }

    std::string text() {
        out_ = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + number(width) + " " +
               number(height) + "\" role=\"img\" aria-label=\"Time of an unchanged exchange by " +
               "number of items\">\n" + style;
        out_ += label(left, 28, "class=\"title\"", "Unchanged exchange: time by number of items");
        axes();
        curve("floor", growth_.floor, &Row::floorMilliseconds);
        curve("exchange", growth_.exchange, &Row::milliseconds);
        legend();
        return out_ + "</svg>\n";
    }

private:
    static int floorPower(double value) {
        return static_cast<int>(std::floor(std::log10(value) + 1e-9));
    }
    static int ceilingPower(double value) {
        return static_cast<int>(std::ceil(std::log10(value) - 1e-9));
    }

    void axes() {
        for (int power = x_.first; power <= x_.last; ++power) {
            const double x = x_.at(std::pow(10, power));
            out_ += line(x, top, x, height - bottom, "grid");
            out_ += label(x, height - bottom + 20, "text-anchor=\"middle\"", countText(power));
        }
        for (int power = y_.first; power <= y_.last; ++power) {
            const double y = y_.at(std::pow(10, power));
            out_ += line(left, y, width - right, y, "grid");
            out_ += label(left - 8, y + 4, "text-anchor=\"end\"", timeText(power));
        }
        out_ += label((left + width - right) / 2,
                      height - 16,
                      "text-anchor=\"middle\"",
                      "items in the library (logarithmic)");
        out_ += label(0,
                      0,
                      "text-anchor=\"middle\" transform=\"translate(16 217) rotate(-90)\"",
                      "median time (logarithmic)");
    }

    /// The fitted line from the smallest to the largest library, and a dot for each measurement.
    void curve(const char* name, const PowerLaw& law, double Row::*time) {
        const auto first = static_cast<double>(growth_.rows.front().items);
        const auto last = static_cast<double>(growth_.rows.back().items);
        out_ += line(x_.at(first),
                     y_.at(law.at(first)),
                     x_.at(last),
                     y_.at(law.at(last)),
                     (std::string("line ") + name).c_str());
        for (const Row& row : growth_.rows) {
            out_ += "<circle cx=\"" + number(x_.at(static_cast<double>(row.items))) + "\" cy=\"" +
                    number(y_.at(row.*time)) + "\" r=\"4\" class=\"" + name + "-dot\"/>\n";
        }
    }

    void legend() {
        entry(0, "exchange", "exchange", growth_.exchange);
        entry(1, "floor", "floor: what nobody can avoid", growth_.floor);
    }

    void entry(int place, const char* name, const std::string& what, const PowerLaw& law) {
        const double y = top + 24 + place * 22;
        out_ += line(left + 14, y - 4, left + 44, y - 4, (std::string("line ") + name).c_str());
        char exponent[64];
        std::snprintf(exponent, sizeof exponent, ", exponent %.3f", law.exponent);
        const std::string attributes = std::string("class=\"") + name + "-text\"";
        out_ += label(left + 52, y, attributes.c_str(), what + exponent);
    }

    const Growth& growth_;
    LogAxis x_;
    LogAxis y_;
    std::string out_;
};

}  // namespace

std::string svgOf(const Growth& growth) {
    return Plot(growth).text();
}

}  // namespace kelto::bench
