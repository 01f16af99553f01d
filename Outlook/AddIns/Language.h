#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The languages of the user interface. The value is the index into arrays of texts. Another language needs a value
/// here, a rule in `LanguageOf` and a column in each array; docs/contributing.md lists the files.
enum class Language : size_t { Chinese, English };

/// One entry for each language, in the order of the values above.
template <class Text>
class PerLanguage {
public:
    constexpr PerLanguage(Text chinese, Text english) : texts_{chinese, english} {}
    constexpr Text operator[](Language language) const { return texts_[static_cast<size_t>(language)]; }

private:
    std::array<Text, 2> texts_;
};

inline constexpr uint32_t kSimplifiedChinese = 2052;

/// @param languageId of the host's user interface. Every language but Simplified Chinese gets the English texts.
constexpr Language LanguageOf(uint32_t languageId) {
    return languageId == kSimplifiedChinese ? Language::Chinese : Language::English;
}
