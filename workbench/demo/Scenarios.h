#pragma once

#include <vector>

namespace demo {

class Stage;

// The parts of the story. Each leaves no window of an appointment open.
void LoadAddIn(Stage& stage);
void PlaySchedule(Stage& stage);
void PlayLaunch(Stage& stage);
void PlayNotifications(Stage& stage);
void PlaySync(Stage& stage);
void EndOutlook(Stage& stage);

/// One that can be played alone, between LoadAddIn and EndOutlook.
struct Scenario {
    const wchar_t* name;
    void (*play)(Stage&);
};

inline std::vector<Scenario> AllScenarios() {
    return {
        {L"schedule", &PlaySchedule}, {L"launch", &PlayLaunch}, {L"notify", &PlayNotifications}, {L"sync", &PlaySync}};
}

} // namespace demo
