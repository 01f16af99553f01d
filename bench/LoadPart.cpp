#include "bench/LoadFloor.h"
#include "bench/Parts.h"
#include "bench/Sample.h"
#include "bench/WorkFolder.h"

namespace bench {
namespace {

constexpr double kLoadLimit = 3;     // times the bare class
constexpr double kSlowestLimit = 10; // milliseconds; Outlook switches an add-in off that takes 1000
constexpr double kSlowest = 0.99;    // of all loads are faster
constexpr const char* kTitle = "load to the end of OnConnection";
constexpr const char* kPlatform = "bare COM class + the platform's calls";

/// Numbers of a load's sample: load, connect, then the stages of the platform's calls.
struct LoadSample {
    explicit LoadSample(const char* name) : numbers(SampleProcess(name).Take()) {
        Require(numbers.size() >= 2, "a load's sample is incomplete");
    }
    double Whole() const { return numbers[0] + numbers[1]; }

    std::vector<double> numbers;
};

/// The same samples, but what counts is the slowest hundredth.
Row Slowest(const Row& row, Aim aim) {
    Row slowest{std::string(kTitle) + ", slowest of 100", "ms", row.values, row.floorName, row.floorValues, aim};
    for (std::vector<double>* values : {&slowest.values, &slowest.floorValues}) {
        for (double& value : *values) {
            value /= 1000;
        }
    }
    slowest.quantile = kSlowest;
    return slowest;
}

} // namespace

void RunLoadSample(Subject subject) {
    const WorkFolder folder;
    HostSession session;
    const LoadTimes times = Load(session, subject, folder.File("floor.txt"));
    std::vector<double> numbers{times.load, times.connect};
    numbers.insert(numbers.end(), times.stages.begin(), times.stages.end());
    PrintNumbers(numbers);
    Unload(session);
}

void MeasureLoad(const Effort& effort) {
    Row againstBare{kTitle, "us", {}, "bare COM class, loaded and created", {}, Aim::AtMostTimes(kLoadLimit)};
    Row againstPlatform{kTitle, "us", {}, kPlatform, {}};
    Row load{"  of it: load and create", "us", {}, "bare COM class, loaded and created", {}};
    Row connect{"  of it: OnConnection", "us", {}, {}, {}};
    std::vector<Row> stages;
    for (const char* name : kPlatformStages) {
        stages.push_back({std::string("  the platform: ") + name, "us", {}, {}, {}});
    }
    for (int sample = 0; sample <= effort.Of(67, 5); ++sample) {
        const LoadSample addIn("load-addin");
        const LoadSample bare("load-bare");
        const LoadSample platform("load-platform");
        if (sample == 0) {
            continue; // warms up: in a new installation the type library is registered now
        }
        Require(platform.numbers.size() == 2 + stages.size(), "the platform's calls are incomplete");
        againstBare.values.push_back(addIn.Whole());
        againstBare.floorValues.push_back(bare.Whole());
        againstPlatform.floorValues.push_back(platform.Whole());
        load.values.push_back(addIn.numbers[0]);
        load.floorValues.push_back(bare.numbers[0]);
        connect.values.push_back(addIn.numbers[1]);
        for (std::size_t each = 0; each < stages.size(); ++each) {
            stages[each].values.push_back(platform.numbers[2 + each]);
        }
    }
    againstPlatform.values = againstBare.values;
    Report(againstBare);
    Report(againstPlatform);
    Report(Slowest(againstBare, Aim::AtMost(kSlowestLimit)));
    Report(Slowest(againstPlatform, {}));
    for (const Row& row : {load, connect}) {
        Report(row);
    }
    for (const Row& row : stages) {
        Report(row);
    }
}

} // namespace bench
