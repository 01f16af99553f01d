#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace verify {

/// Random numbers from a seed. The engine's sequence is the same with every library, unlike the distributions'.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : engine_(seed) {}

    std::uint64_t Below(std::uint64_t bound) { return engine_() % bound; }
    bool OneIn(std::uint64_t count) { return Below(count) == 0; }
    template <class Table>
    auto Any(const Table& table) {
        return table[static_cast<std::size_t>(Below(std::size(table)))];
    }
    std::string Bytes(std::size_t length);

private:
    std::mt19937_64 engine_;
};

/// Texts for the add-in's reader: notifications of all types, whose members are as they should be or are not. Needs no
/// Windows.
class Notifications {
public:
    explicit Notifications(Dice& dice) : dice_(dice) {}

    /// Entry id of an appointment that exists, which some name.
    void SetEntryId(std::string id) { entryId_ = std::move(id); }

    /// A well-formed one, of any type.
    std::string Honest();
    /// One with members that are missing, twice there, of a wrong type or out of every range; mostly JSON all the same.
    std::string Crooked();
    /// Texts that are hard on a reader: deep, long or many.
    std::string Strange();

private:
    std::string Value(std::string_view member);
    std::string WrongValue();
    std::string LongText();
    std::string Quoted(std::string_view text);

    Dice& dice_;
    std::string entryId_ = "00000000A1B2";
};

std::string Join(std::initializer_list<std::string_view> pieces);
std::string Repeated(std::string_view piece, std::size_t times);
/// The pieces between the separators.
std::vector<std::string_view> Split(std::string_view text, char separator);

} // namespace verify
