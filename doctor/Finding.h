#pragma once

#include "Outlook/AddIns/Language.h"
#include "doctor/Machine.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace doctor {

/// From harmless to grave. `Unknown` means that access was denied.
enum class Verdict { Ok, Info, Unknown, Warn, Fail };

using Text = PerLanguage<const wchar_t*>;

/// Replaces "{0}", "{1}", … in a text.
std::wstring Fill(std::wstring_view text, std::initializer_list<std::wstring_view> arguments);

/// One change to the user's own part of the registry.
struct Repair {
    enum class Kind { DeleteKey, DeleteValue, SetNumber };
    Kind kind = Kind::DeleteValue;
    std::wstring key; ///< below HKEY_CURRENT_USER
    std::wstring name;
    std::uint32_t number = 0;
};

using Arguments = std::initializer_list<std::wstring_view>;

/// Result of one check. Several facts can belong to it; the gravest one gives the verdict and the advice.
class Finding {
public:
    /// @param ceiling no fact counts for more than this.
    Finding(const wchar_t* id, const wchar_t* name, Verdict ceiling, Language language)
        : id_(id), name_(name), ceiling_(ceiling), language_(language) {}

    Finding& Add(Verdict verdict, const Text& fact, Arguments arguments = {});
    /// Advice for the fact that was added last. It replaces the advice of a less grave fact; a fact that is in order
    /// needs none.
    Finding& Advise(const Text& fix, Arguments arguments = {});
    void Offer(Repair repair) { repairs_.push_back(std::move(repair)); }
    /// A command for an administrator.
    void Command(std::wstring command) { commands_.push_back(std::move(command)); }

    const wchar_t* Id() const { return id_; }
    const wchar_t* Name() const { return name_; }
    Verdict GetVerdict() const { return verdict_; }
    std::wstring Fact() const;
    const std::wstring& Fix() const { return fix_; }
    const std::vector<Repair>& Repairs() const { return repairs_; }
    const std::vector<std::wstring>& Commands() const { return commands_; }

private:
    const wchar_t* id_;
    const wchar_t* name_;
    Verdict ceiling_;
    Language language_;
    Verdict verdict_ = Verdict::Ok;
    Verdict last_ = Verdict::Ok;    // of the fact that was added last
    Verdict advised_ = Verdict::Ok; // of the fact that the advice belongs to
    std::vector<std::wstring> facts_;
    std::wstring fix_;
    std::vector<Repair> repairs_;
    std::vector<std::wstring> commands_;
};

} // namespace doctor
