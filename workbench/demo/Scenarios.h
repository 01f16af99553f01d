#pragma once

#include <vector>

namespace demo {

class Stage;

// Before and after the scenarios. Without registration there is nothing to install and to remove.
void InstallAddIn(Stage& stage);
void StartOutlook(Stage& stage);
void EndOutlook(Stage& stage);
void RemoveAddIn(Stage& stage);
void TellCount(Stage& stage);

// The scenarios. Each leaves no window of an appointment open.
void PlaySchedule(Stage& stage);
void PlayLaunch(Stage& stage);
void PlayNotifications(Stage& stage);
void PlayLife(Stage& stage);
void SaveWithoutClient(Stage& stage); // the last part of PlayLife

/// One that can be played alone.
struct Scenario {
    const char* name;
    void (*play)(Stage&);
};

inline std::vector<Scenario> AllScenarios() {
    return {{"schedule", &PlaySchedule}, {"launch", &PlayLaunch}, {"notify", &PlayNotifications}, {"life", &PlayLife}};
}

} // namespace demo
