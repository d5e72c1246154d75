#include "benchmarks/Growth.hpp"

#include <cmath>
#include <stdexcept>

namespace kelto::bench {

double PowerLaw::at(double items) const {
    return factor * std::pow(items, exponent);
}

PowerLaw PowerLaw::through(const std::vector<std::pair<double, double>>& points) {
    if (points.size() < 2) throw std::runtime_error("growth needs at least two sizes");
    const auto count = static_cast<double>(points.size());
    double x = 0;
    double y = 0;
    for (const auto& [items, time] : points) {
        x += std::log(items) / count;
        y += std::log(time) / count;
    }
    double covariance = 0;
    double variance = 0;
    for (const auto& [items, time] : points) {
        const double dx = std::log(items) - x;
        covariance += dx * (std::log(time) - y);
        variance += dx * dx;
    }
    const double exponent = covariance / variance;
    return {exponent, std::exp(y - exponent * x)};
}

Growth Growth::of(const std::vector<Row>& rows) {
    Growth growth;
    std::vector<std::pair<double, double>> exchanges;
    std::vector<std::pair<double, double>> floors;
    for (const Row& row : rows) {
        if (row.workload != "W1") continue;
        growth.rows.push_back(row);
        exchanges.emplace_back(static_cast<double>(row.items), row.milliseconds);
        floors.emplace_back(static_cast<double>(row.items), row.floorMilliseconds);
    }
    growth.exchange = PowerLaw::through(exchanges);
    growth.floor = PowerLaw::through(floors);
    return growth;
}

}  // namespace kelto::bench
