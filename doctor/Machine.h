#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace doctor {

/// Result of a reading. An absent key or file is a normal answer; a denied one is no proof of anything.
enum class Access { Found, Absent, Denied };

template <class Value>
struct Answer {
    Access access = Access::Absent;
    Value value{};

    explicit operator bool() const { return access == Access::Found; }
    const Value* operator->() const { return &value; }
};

enum class Hive { Machine, User }; ///< HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER, always in the 64-bit view

struct RegistryValue {
    std::wstring name; ///< empty: the key's default value
    std::uint32_t type = 0;
    std::vector<std::uint8_t> data;

    /// The text of a REG_SZ or REG_EXPAND_SZ value; nothing for other types. Variables are not expanded.
    std::optional<std::wstring> Text() const;
    /// The number of a whole REG_DWORD value; nothing for other types.
    std::optional<std::uint32_t> Number() const;
};
using RegistryValues = std::vector<RegistryValue>;

/// Four numbers of a version resource, the most significant one first.
struct FileVersion {
    std::uint16_t part[4] = {};
    bool operator==(const FileVersion&) const = default;
};

enum class SignatureState { None, Valid, Altered, Untrusted };
struct Signature {
    SignatureState state = SignatureState::None;
    std::wstring signer;
    std::uint32_t code = 0; ///< the system's status when it is not valid
};

struct Process {
    std::uint32_t id = 0;
    std::wstring path;                                ///< empty where access is denied
    std::optional<std::wstring> commandLine;          ///< nothing where access is denied, as the following three
    std::optional<std::vector<std::wstring>> modules; ///< full paths
    std::optional<std::uint32_t> integrity;           ///< the level as the system counts it: 0x2000 medium, 0x3000 high
    std::string started;                              ///< local time in the form of the log's lines; empty where denied
};

struct Event {
    std::uint32_t id = 0;
    std::wstring text; ///< the event's strings, one after the other
};

/// The folder of Windows' libraries, of the add-in's log, and of the installer; and this program's file.
enum class Place { System, Log, Installed, Program };

struct ProbeResult {
    enum class End { Done, Failed, TimedOut, NotStarted };
    End end = End::Done;
    std::uint32_t code = 0; ///< of a failure: an error of Windows, a status of COM, or the exception of a crash
};

/// All that the checks see of the computer. The checks read it and never change it.
class Machine {
public:
    Machine() = default;
    virtual ~Machine() = default;
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    Answer<RegistryValues> Values(Hive hive, const std::wstring& key) const {
        keysRead_.insert({hive, key});
        return ReadValues(hive, key);
    }
    /// All keys that were looked for until now, for the support's collection.
    const std::set<std::pair<Hive, std::wstring>>& KeysRead() const { return keysRead_; }

    /// At most `limit` bytes from the start of a file, or from its end.
    virtual Answer<std::string> Head(const std::wstring& path, std::size_t limit) const = 0;
    virtual Answer<std::string> Tail(const std::wstring& path, std::size_t limit) const = 0;
    virtual Answer<FileVersion> Version(const std::wstring& path) const = 0;
    virtual Signature SignatureOf(const std::wstring& path) const = 0;
    /// Whether the user may write this file, or make files in this folder, without an administrator's rights.
    virtual Answer<bool> Writable(const std::wstring& path) const = 0;
    virtual std::optional<std::uint64_t> FreeBytes(const std::wstring& folder) const = 0;
    /// Folder without a backslash at its end.
    virtual std::wstring Folder(Place place) const = 0;

    virtual std::vector<Process> Processes(const wchar_t* program) const = 0;
    virtual Process ProcessOf(std::uint32_t id) const = 0;
    /// Process ids of the owners of all windows of this class, message-only windows included.
    virtual std::vector<std::uint32_t> WindowOwners(const wchar_t* windowClass) const = 0;
    /// Events of the last 30 days with one of these ids. @param source empty: any.
    virtual Answer<std::vector<Event>> Events(const wchar_t* channel, const wchar_t* source,
                                              const std::vector<std::uint32_t>& ids) const = 0;
    /// Loads the module in a process of its own, for at most 10 seconds, and creates its object there.
    virtual ProbeResult Probe(const std::wstring& module) const = 0;
    /// Names under which texts may show who the user is.
    virtual std::vector<std::wstring> UserNames() const = 0;

protected:
    virtual Answer<RegistryValues> ReadValues(Hive hive, const std::wstring& key) const = 0;

private:
    mutable std::set<std::pair<Hive, std::wstring>> keysRead_;
};

} // namespace doctor
