#include "bench/Measure.h"

#include <windows.h>

#include <cstdio>
#include <iomanip>
#include <sstream>
#include <string_view>

namespace bench {
namespace {

constexpr std::string_view kRowMark = "row\t";

} // namespace

int64_t Now() noexcept {
    LARGE_INTEGER now{};
    ::QueryPerformanceCounter(&now);
    return now.QuadPart;
}

double Microseconds(int64_t counts) noexcept {
    LARGE_INTEGER frequency{};
    ::QueryPerformanceFrequency(&frequency);
    return static_cast<double>(counts) * 1e6 / static_cast<double>(frequency.QuadPart);
}

std::string Pack(const Row& row) {
    std::ostringstream line;
    line << kRowMark << row.name << '\t' << row.unit << '\t' << row.floorName << '\t' << row.aim.kind << ' '
         << row.aim.limit << ' ' << row.quantile << std::fixed << std::setprecision(4);
    for (const std::vector<double>* values : {&row.values, &row.floorValues}) {
        line << ' ' << values->size();
        for (const double value : *values) {
            line << ' ' << value;
        }
    }
    return line.str();
}

bool Unpack(const std::string& line, Row& row) {
    if (!line.starts_with(kRowMark)) {
        return false;
    }
    std::istringstream stream(line.substr(kRowMark.size()));
    for (std::string* text : {&row.name, &row.unit, &row.floorName}) {
        std::getline(stream, *text, '\t');
    }
    int kind = 0;
    stream >> kind >> row.aim.limit >> row.quantile;
    row.aim.kind = static_cast<Aim::Kind>(kind);
    for (std::vector<double>* values : {&row.values, &row.floorValues}) {
        std::size_t count = 0;
        stream >> count;
        for (double value = 0; values->size() < count && stream >> value;) {
            values->push_back(value);
        }
    }
    return stream && !row.values.empty();
}

void Report(const Row& row) {
    std::printf("%s\n", Pack(row).c_str());
    std::fflush(stdout);
}

} // namespace bench
