#pragma once

#include "workbench/verify/core/Session.h"

#include <cstdint>
#include <iterator>
#include <span>
#include <string>

/// The things that Outlook's user, Outlook itself and the client do. The soak run plays them at random, the processes
/// of the endings as their traffic, and the scenes of the fault run are made of them.
namespace verify {

/// The random numbers of one action. Each action draws as many, whether it can be carried out or not, so that the
/// sequence depends on the seed alone.
struct Draw {
    std::uint64_t kind = 0;
    std::uint64_t a = 0;
    std::uint64_t b = 0;
    std::uint64_t c = 0;
};

class Player {
public:
    explicit Player(Session& session) : session_(session) {}

    workbench::OutlookHost& Host() const { return session_.Host(); }
    workbench::AddInHost& AddIn() const { return session_.AddIn(); }

    /// A text that no other has.
    std::string NextId() { return std::to_string(++nextId_); }
    /// A command carries the centre of a window, which makes it different from every other.
    void MoveToUniquePlace(HWND window);
    /// Null when there is none.
    workbench::InspectorPtr PickInspector(std::uint64_t number, bool appointment) const;
    HRESULT Press(workbench::Surface surface, const wchar_t* control, const workbench::RibbonContext& context = {});
    /// An appointment that is open in a window. It is saved, if so, before anybody listens to it.
    workbench::ItemPtr Open(bool saved, const std::wstring& subject, const std::wstring& comment = {});

    std::uint64_t Presses() const { return presses_; }
    std::uint64_t Explorers() const { return explorers_; }
    void CountExplorer() { ++explorers_; }

    long language = 1033; // of the next run of Outlook

private:
    Session& session_;
    std::uint64_t nextId_ = 0;
    std::uint64_t presses_ = 0;
    std::uint64_t explorers_ = 0; // opened
};

struct Action {
    const char* name;
    unsigned weight;
    void (*play)(Player&, const Draw&);
};

/// Of Outlook's user and of Outlook itself, while it runs.
std::span<const Action> HostActions();

/// Orders to the client, in the words that it understands.
struct ClientOrder {
    const char* name;
    unsigned weight;
    std::string (*make)(Player&, const Draw&);
};
std::span<const ClientOrder> ClientOrders();

/// Takes the weight of each off the choice. @return the one that the choice does not cover; null when it covers all.
template <class Table>
const auto* Choose(const Table& table, std::uint64_t& choice) {
    for (const auto& one : table) {
        if (choice < one.weight) {
            return &one;
        }
        choice -= one.weight;
    }
    return decltype(&*std::begin(table)){};
}
/// The sum of the weights.
template <class Table>
std::uint64_t Weight(const Table& table) {
    std::uint64_t choice = UINT64_MAX;
    Choose(table, choice);
    return UINT64_MAX - choice;
}

/// A notification of a type that the add-in does not know.
std::string UnknownNotification(Player& player, const Draw& draw);

} // namespace verify
