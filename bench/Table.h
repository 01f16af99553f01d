#pragma once

#include "bench/Measure.h"

#include <string>
#include <vector>

namespace bench {

/// The figures of one line of the table over all runs. Per run: the median (or the row's other quantile), and its ratio
/// to the floor of the same run.
class Summary {
public:
    explicit Summary(const Row& first) { Add(first); }

    /// Whether the row is this line's, from another run.
    bool Takes(const Row& row) const { return row.name == row_.name && row.floorName == row_.floorName; }
    void Add(const Row& row);

    /// The cells of the line, in the order of the table's columns.
    std::vector<std::string> Cells() const;

private:
    double Typical(const std::vector<double>& perRun, const std::vector<double>& samples) const;
    std::string Spread(const std::vector<double>& perRun, std::vector<double> samples) const;
    std::string Verdict(double value, double ratio, double floor) const;

    Row row_;                  // of the first run; its samples are those of all runs
    std::vector<double> runs_; // one figure a run
    std::vector<double> floors_;
    std::vector<double> ratios_;
};

/// Adds the row to its line, or a new line at the end.
void AddRow(std::vector<Summary>& table, const Row& row);

/// In Markdown.
std::string FormatTable(const std::vector<Summary>& table);

} // namespace bench
