#include "bench/Table.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace bench {
namespace {

using Line = std::array<std::string, 7>;
constexpr std::array<bool, 7> kRightAligned = {false, true, true, false, true, true, true};

/// The value below which that part of the sorted values lies, between two of them by proportion.
double Quantile(const std::vector<double>& sorted, double part) {
    const double place = part * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] + (sorted[above] - sorted[below]) * (place - static_cast<double>(below));
}

std::string Number(double value) {
    char text[32];
    const bool whole = value == static_cast<double>(static_cast<long long>(value));
    const int decimals = whole || value >= 100 ? 0 : value < 0.1 ? 3 : 2;
    std::snprintf(text, sizeof(text), "%.*f", decimals, value);
    return text;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return Quantile(values, 0.5);
}

std::string Spread(std::vector<double> values) {
    if (values.size() < 2) {
        return {};
    }
    std::sort(values.begin(), values.end());
    return Number(Quantile(values, 0.25)) + ".." + Number(Quantile(values, 0.75));
}

Line MakeLine(const Row& row) {
    const double median = Median(row.values);
    Line line{row.name, Number(median) + " " + row.unit, Spread(row.values), {}, {}, {}, {}};
    if (!row.floorValues.empty()) {
        const double floor = Median(row.floorValues);
        line[3] = row.floorName;
        line[4] = Number(floor) + " " + row.unit;
        line[5] = Spread(row.floorValues);
        line[6] = floor > 0 ? Number(median / floor) : "-";
    }
    return line;
}

} // namespace

std::string FormatTable(const std::vector<Row>& rows) {
    std::vector<Line> lines = {{"measured", "median", "quartiles", "against", "median", "quartiles", "ratio"}, {}};
    for (const Row& row : rows) {
        lines.push_back(MakeLine(row));
    }
    std::string table;
    for (std::size_t each = 0; each < lines.size(); ++each) {
        for (std::size_t column = 0; column < kRightAligned.size(); ++column) {
            std::size_t width = 0;
            for (const Line& line : lines) {
                width = std::max(width, line[column].size());
            }
            const std::string& cell = lines[each][column];
            const std::string padding(width - cell.size(), ' ');
            const std::string ruled = each == 1 ? std::string(width, '-') : cell;
            const std::string filler = each == 1 ? std::string() : padding;
            table += (column == 0 ? "" : "  ") + (kRightAligned[column] ? filler + ruled : ruled + filler);
        }
        table.erase(table.find_last_not_of(' ') + 1);
        table += '\n';
    }
    return table;
}

} // namespace bench
