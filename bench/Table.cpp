#include "bench/Table.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace bench {
namespace {

using Line = std::vector<std::string>;

struct Column {
    const char* title;
    bool right; // aligned to the right
};
constexpr std::array<Column, 10> kColumns = {{{"measured", false},
                                              {"median", true},
                                              {"spread", true},
                                              {"against", false},
                                              {"median", true},
                                              {"spread", true},
                                              {"ratio", true},
                                              {"spread", true},
                                              {"aim", true},
                                              {"met", false}}};

/// The value below which that part of the values lies, between two of them by proportion.
double Quantile(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    const double place = part * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (values[above] - values[below]) * (place - static_cast<double>(below));
}

std::string Number(double value) {
    char text[32];
    const bool whole = value == static_cast<double>(static_cast<long long>(value));
    const double size = std::fabs(value);
    const int decimals = whole || size >= 100 ? 0 : size < 0.1 ? 3 : 2;
    std::snprintf(text, sizeof(text), "%.*f", decimals, value);
    return text;
}

std::string Range(double low, double high) {
    return Number(low) + ".." + Number(high);
}

std::string WithUnit(double value, const std::string& unit) {
    return Number(value) + (unit.empty() ? "" : " " + unit);
}

/// As the table prints it: what reads as 1.05 is within 1.05.
double AsPrinted(double value) {
    return std::round(value * 100) / 100;
}

std::string AimText(const Row& row) {
    switch (row.aim.kind) {
    case Aim::Ratio:
        return "<= " + Number(row.aim.limit) + " x";
    case Aim::Value:
        return "<= " + WithUnit(row.aim.limit, row.unit);
    case Aim::Equal:
        return "equal";
    default:
        return {};
    }
}

} // namespace

void Summary::Add(const Row& row) {
    if (runs_.empty()) {
        row_ = row;
    } else {
        row_.values.insert(row_.values.end(), row.values.begin(), row.values.end());
        row_.floorValues.insert(row_.floorValues.end(), row.floorValues.begin(), row.floorValues.end());
    }
    runs_.push_back(Quantile(row.values, row.quantile));
    if (!row.floorValues.empty()) {
        floors_.push_back(Quantile(row.floorValues, row.quantile));
        ratios_.push_back(floors_.back() > 0 ? runs_.back() / floors_.back() : 0);
    }
}

/// The median of the runs. A rare value, such as the slowest hundredth, is taken from all samples together.
double Summary::Typical(const std::vector<double>& perRun, const std::vector<double>& samples) const {
    return row_.quantile == 0.5 ? Quantile(perRun, 0.5) : Quantile(samples, row_.quantile);
}

/// Lowest and highest run; of a single run the quartiles of its samples.
std::string Summary::Spread(const std::vector<double>& perRun, std::vector<double> samples) const {
    if (perRun.size() > 1) {
        const auto [low, high] = std::minmax_element(perRun.begin(), perRun.end());
        return Range(*low, *high);
    }
    return samples.size() > 1 ? Range(Quantile(samples, 0.25), Quantile(samples, 0.75)) : std::string();
}

std::string Summary::Verdict(double value, double ratio, double floor) const {
    const auto answer = [](bool met) { return met ? "yes" : "NO"; };
    switch (row_.aim.kind) {
    case Aim::Ratio:
        return answer(AsPrinted(ratio) <= row_.aim.limit);
    case Aim::Value:
        return answer(AsPrinted(value) <= row_.aim.limit);
    case Aim::Equal:
        return answer(value == floor);
    default:
        return {};
    }
}

std::vector<std::string> Summary::Cells() const {
    const double value = Typical(runs_, row_.values);
    Line cells{row_.name, WithUnit(value, row_.unit), Spread(runs_, row_.values), "", "", "", "", "", AimText(row_),
               ""};
    double floor = 0;
    double ratio = 0;
    if (!floors_.empty()) {
        floor = Typical(floors_, row_.floorValues);
        ratio = row_.quantile == 0.5 ? Quantile(ratios_, 0.5) : floor > 0 ? value / floor : 0;
        cells[3] = row_.floorName;
        cells[4] = WithUnit(floor, row_.unit);
        cells[5] = Spread(floors_, row_.floorValues);
        cells[6] = Number(AsPrinted(ratio) >= 0.1 ? AsPrinted(ratio) : ratio);
        cells[7] = Spread(ratios_, {});
    }
    cells[9] = Verdict(value, ratio, floor);
    return cells;
}

void AddRow(std::vector<Summary>& table, const Row& row) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const Summary& line) { return line.Takes(row); });
    if (found != table.end()) {
        found->Add(row);
    } else {
        table.emplace_back(row);
    }
}

std::string FormatTable(const std::vector<Summary>& table) {
    std::string text = "|";
    std::string rule = "|";
    for (const Column& column : kColumns) {
        text += std::string(" ") + column.title + " |";
        rule += column.right ? "---:|" : "---|";
    }
    text += "\n" + rule + "\n";
    for (const Summary& each : table) {
        text += "|";
        for (const std::string& cell : each.Cells()) {
            text += cell.empty() ? " |" : " " + cell + " |";
        }
        text += "\n";
    }
    return text;
}

} // namespace bench
