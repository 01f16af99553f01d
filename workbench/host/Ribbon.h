#pragma once

#include "workbench/host/Events.h"
#include "workbench/host/RibbonXml.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace workbench {

class Explorer;
class Inspector;
class OutlookHost;

enum class Surface { Explorer, Appointment, MailCompose };

/// "Microsoft.Outlook.Explorer" and so on.
const wchar_t* RibbonId(Surface surface);

/// The result of IRibbonControl.Context in a callback: the active window of that surface (the default), nothing, or a
/// certain object.
class RibbonContext {
public:
    RibbonContext() = default;
    RibbonContext(std::nullptr_t) : automatic_(false) {}
    RibbonContext(IDispatch* object) : automatic_(false), object_(object) {}
    RibbonContext(const std::shared_ptr<Explorer>& explorer);
    RibbonContext(const std::shared_ptr<Inspector>& inspector);

    bool Automatic() const { return automatic_; }
    const DispatchPtr& Object() const { return object_; }

private:
    bool automatic_ = true;
    DispatchPtr object_;
};

/// A ribbon callback's answer.
struct CallbackResult {
    HRESULT status = E_FAIL; // of GetIDsOfNames or Invoke; the scode if Invoke answered DISP_E_EXCEPTION
    _variant_t value;
};

struct Invalidation {
    std::wstring controlId;
};

/// One ribbon of the add-in: its XML, its callbacks. Every query asks the add-in afresh; ids need not be in the XML.
/// Host thread.
class Ribbon {
public:
    Ribbon(OutlookHost& host, Surface surface, IUnknown* addIn);
    ~Ribbon();
    Ribbon(const Ribbon&) = delete;
    Ribbon& operator=(const Ribbon&) = delete;

    /// GetCustomUI, parse, onLoad. @return the first failure. An add-in that gives no XML ends with S_FALSE.
    HRESULT Load();
    /// Forgets XML, pictures and the IRibbonUI, and lets go of the add-in.
    void Unload();

    Surface On() const { return surface_; }
    bool Loaded() const { return loaded_; }
    const std::wstring& Xml() const { return xml_; }
    /// All tabs, groups and controls with their attributes, in the order of the XML.
    const std::vector<RibbonElement>& Controls() const { return document_.elements; }
    /// The element with that id or idMso, or null.
    const RibbonElement* Find(const std::wstring& id) const;
    /// The groups and buttons of a tab given by idMso or id.
    std::vector<RibbonElement> OfTab(const std::wstring& tab) const;

    // Values as Office would show them: by callback if the XML names one, else the attribute, else the default. For ids
    // that are not in the XML the callbacks that the XML uses for other controls are called.
    std::wstring Label(const std::wstring& id, const RibbonContext& context = {});
    bool Visible(const std::wstring& id, const RibbonContext& context = {});
    bool Enabled(const std::wstring& id, const RibbonContext& context = {});
    /// onAction. A press of a disabled or hidden button is carried out too: tests want to see it refused.
    HRESULT Press(const std::wstring& id, const RibbonContext& context = {});
    /// loadImage with the control's image attribute, cached. May be null.
    PicturePtr Image(const std::wstring& id);

    // The same callbacks with the whole answer.
    CallbackResult AskLabel(const std::wstring& id, const RibbonContext& context = {});
    CallbackResult AskVisible(const std::wstring& id, const RibbonContext& context = {});
    CallbackResult AskEnabled(const std::wstring& id, const RibbonContext& context = {});
    CallbackResult LoadImage(const std::wstring& imageName);
    /// Any callback by name with one argument.
    CallbackResult Call(const std::wstring& callback, const _variant_t& argument);
    /// onLoad with a new IRibbonUI.
    CallbackResult CallOnLoad();

    /// An IRibbonControl as the callbacks get it.
    DispatchPtr MakeControl(const std::wstring& id, const RibbonContext& context = {});

    /// The controls that the add-in asked to invalidate, in order.
    const std::vector<Invalidation>& Invalidations() const { return *invalidations_; }
    std::size_t OnLoadCount() const { return onLoadCount_; }

private:
    HRESULT FetchXml();
    HRESULT CheckCallbacks();
    bool Flag(const wchar_t* callback, const wchar_t* attribute, const std::wstring& id, const RibbonContext& context);
    CallbackResult CallForControl(const wchar_t* attribute, const std::wstring& id, const RibbonContext& context);
    std::wstring CallbackName(const wchar_t* attribute, const std::wstring& id) const;

    OutlookHost& host_;
    Surface surface_;
    UnknownPtr addIn_;
    DispatchPtr callbacks_;
    bool loaded_ = false;
    std::wstring xml_;
    RibbonDocument document_;
    std::map<std::wstring, PicturePtr> pictures_;
    std::shared_ptr<std::vector<Invalidation>> invalidations_;
    std::size_t onLoadCount_ = 0;
};

} // namespace workbench
