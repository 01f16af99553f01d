#pragma once

#include "doctor/Finding.h"
#include "doctor/Scene.h"

#include <span>
#include <string_view>
#include <vector>

namespace doctor {

struct Check {
    const wchar_t* id; ///< its letter names the group
    const wchar_t* name;
    void (*run)(const Scene& scene, Finding& found);
    /// The fact when the check adds none: nothing was found.
    const Text* fine = nullptr;
    /// A check whose reading is not confirmed on Windows gives at most a warning.
    Verdict ceiling = Verdict::Fail;
    bool needsModule = false; ///< left out when the module cannot be read; R7 and F1 report why
};

std::span<const Check> HostChecks();         // H
std::span<const Check> RegistrationChecks(); // R
std::span<const Check> FileChecks();         // F
std::span<const Check> StateChecks();        // D, E, P
std::span<const Check> LinkChecks();         // L, C

/// All checks in the order of the report.
std::vector<Check> AllChecks();

/// Whether Outlook has loaded the registered module, so that only host, log and client matter.
bool IsLoaded(const Scene& scene);

/// Runs all checks, or the one with this id. Without `only`, the groups that a loaded add-in makes needless are left
/// out.
std::vector<Finding> RunChecks(const Scene& scene, std::wstring_view only = {});

/// Adds a fact when access was denied. @return whether it was.
bool IsDenied(Access access, const std::wstring& what, Finding& found);

// Facts that checks of several groups need
/// Recent events, the newest first. Adds a fact when they cannot be read.
std::vector<Event> EventsOf(const Scene& scene, const wchar_t* channel, const wchar_t* source,
                            const std::vector<std::uint32_t>& ids, Finding& found);
bool AsksForSignature(const Scene& scene, std::uint32_t& level); ///< P3
bool IsBlockedByControl(const Scene& scene);                     ///< F7
std::wstring RegistryName(Hive hive, const std::wstring& key);   ///< "HKLM\…"
/// A command that deletes a key, or the value `name` in it.
std::wstring DeleteCommand(const std::wstring& machineKey, const std::wstring& name = {});
/// The command that registers the module: the installer's file, else the registered one, else the one beside this
/// program. When none of them is a 64-bit program, the command that installs the files again.
std::wstring RepairCommand(const Scene& scene);

} // namespace doctor
