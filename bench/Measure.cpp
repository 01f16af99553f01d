#include "bench/Measure.h"

#include <windows.h>

#include <cstdio>
#include <sstream>

namespace bench {
namespace {

constexpr char kRowMark[] = "row";
constexpr char kSeparator = '\t';

std::string Join(const std::vector<double>& values) {
    std::string text;
    char number[32];
    for (const double value : values) {
        std::snprintf(number, sizeof(number), "%.4f ", value);
        text += number;
    }
    return text;
}

std::vector<double> Split(const std::string& text) {
    std::istringstream stream(text);
    std::vector<double> values;
    for (double value = 0; stream >> value;) {
        values.push_back(value);
    }
    return values;
}

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
    std::string line = kRowMark;
    const std::string aim = Join({static_cast<double>(row.aim.kind), row.aim.limit, row.quantile});
    for (const std::string& field : {row.name, row.unit, Join(row.values), row.floorName, Join(row.floorValues), aim}) {
        line += kSeparator + field;
    }
    return line;
}

bool Unpack(const std::string& line, Row& row) {
    std::istringstream stream(line);
    std::string mark;
    std::string values;
    std::string floorValues;
    std::string aim;
    std::getline(stream, mark, kSeparator);
    std::getline(stream, row.name, kSeparator);
    std::getline(stream, row.unit, kSeparator);
    std::getline(stream, values, kSeparator);
    std::getline(stream, row.floorName, kSeparator);
    std::getline(stream, floorValues, kSeparator);
    std::getline(stream, aim, kSeparator);
    row.values = Split(values);
    row.floorValues = Split(floorValues);
    const std::vector<double> numbers = Split(aim);
    if (mark != kRowMark || row.values.empty() || numbers.size() != 3) {
        return false;
    }
    row.aim = {static_cast<Aim::Kind>(static_cast<int>(numbers[0])), numbers[1]};
    row.quantile = numbers[2];
    return true;
}

void Report(const Row& row) {
    std::printf("%s\n", Pack(row).c_str());
    std::fflush(stdout);
}

} // namespace bench
