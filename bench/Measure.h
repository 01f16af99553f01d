#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

/// Reading of the performance counter, which all processes of a machine share.
int64_t Now() noexcept;
double Microseconds(int64_t counts) noexcept;

struct Effort {
    bool quick = false;
    int Of(int full, int small) const { return quick ? small : full; }
};

/// The aim of a row.
struct Aim {
    enum Kind : int {
        None,  // the figure is only stated
        Ratio, // to the floor, at most the limit
        Value, // at most the limit, in the row's unit
        Equal  // to the floor
    };
    Kind kind = None;
    double limit = 0;

    static constexpr Aim AtMostTimes(double limit) { return {Ratio, limit}; }
    static constexpr Aim AtMost(double limit) { return {Value, limit}; }
    static constexpr Aim EqualToFloor() { return {Equal, 0}; }
};

/// Raw figures of one line of the table, as one run gives them. Without a floor it is a stated figure.
struct Row {
    std::string name;
    std::string unit;
    std::vector<double> values;
    std::string floorName;
    std::vector<double> floorValues;
    Aim aim = {};
    double quantile = 0.5; // which of the sorted values counts
};

/// One text line for a row, and back. @return false for a line that is no row.
std::string Pack(const Row& row);
bool Unpack(const std::string& line, Row& row);

/// Hands a finished row to the process that prints the table.
void Report(const Row& row);

inline void Require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

/// Microseconds of one call, the mean over `calls` of them.
template <class Body>
double TimeCalls(int calls, Body& body) {
    const int64_t start = Now();
    for (int call = 0; call < calls; ++call) {
        body();
    }
    return Microseconds(Now() - start) / calls;
}

/// Both in turn, so that what else the machine does meets both. A first round warms up and does not count.
template <class Product, class Floor>
Row Compare(const std::string& name, const std::string& floorName, int samples, int calls, Product product, Floor floor,
            Aim aim = {}) {
    Row row{name, "us", {}, floorName, {}, aim};
    TimeCalls(calls, product);
    TimeCalls(calls, floor);
    for (int sample = 0; sample < samples; ++sample) {
        row.values.push_back(TimeCalls(calls, product));
        row.floorValues.push_back(TimeCalls(calls, floor));
    }
    return row;
}

} // namespace bench
