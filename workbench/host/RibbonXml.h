#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

namespace workbench {

/// One tab, group or control of a ribbon XML.
struct RibbonElement {
    std::wstring element; // "tab", "group", "button", …
    std::wstring id;      // id, else idMso, else idQ
    std::wstring tab;     // id of the tab it is in; empty for a tab
    std::wstring group;   // id of the group it is in; empty for tab and group
    std::map<std::wstring, std::wstring> attributes;

    /// Empty when the attribute is not there.
    std::wstring Attribute(const wchar_t* name) const;
};

struct RibbonDocument {
    std::wstring namespaceUri;
    std::wstring onLoad;
    std::wstring loadImage;
    std::vector<RibbonElement> elements;
};

/// Reads a ribbon XML. @throws _com_error with the reader's status, with E_INVALIDARG if the root is not customUI.
RibbonDocument ParseRibbonXml(const std::wstring& xml);

} // namespace workbench
