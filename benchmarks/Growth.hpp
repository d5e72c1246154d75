#pragma once

#include <string>
#include <vector>

#include "benchmarks/Row.hpp"

namespace kelto::bench {

/// time = factor * items ^ exponent, by least squares over the logarithms.
struct PowerLaw {
    double exponent = 0;
    double factor = 0;  ///< milliseconds

    [[nodiscard]] double at(double items) const;
    [[nodiscard]] static PowerLaw through(const std::vector<std::pair<double, double>>& points);
};

/// How the times of W1 grow with the number of items.
struct Growth {
    std::vector<Row> rows;
    PowerLaw exchange;
    PowerLaw floor;

    static constexpr double exponentGoal = 1.05;
    [[nodiscard]] bool isMet() const { return exchange.exponent <= exponentGoal; }
    [[nodiscard]] static Growth of(const std::vector<Row>& rows);
};

/// A plot of it, both axes logarithmic, for light and dark pages.
[[nodiscard]] std::string svgOf(const Growth& growth);

}  // namespace kelto::bench
