#pragma once

/// Ways in which Outlook behaves, or may behave, that an add-in has to live with. Each is off unless it is the normal
/// way; a test switches on what it wants to see survived. May be changed at any time while the host runs.
namespace workbench {

struct Habits {
    // --- Identity of objects ---
    /// Each hand-out of an explorer, inspector, item, collection … is a new pointer, though it is the same object.
    bool distinctPointers = false;
    /// With distinctPointers: the pointers do not even share their IUnknown.
    bool distinctIdentity = false;

    // --- Results ---
    /// "No object" comes as VT_EMPTY and not as VT_DISPATCH with null.
    bool nullAsEmpty = false;
    /// Folders.Item takes VT_I4, VT_I2 and texts only: VT_INT gives DISP_E_TYPEMISMATCH.
    bool refuseVtInt = false;
    /// CurrentItem fails while the inspector's Close event is delivered.
    bool noCurrentItemInClose = false;
    /// A failed call fills EXCEPINFO only when its pfnDeferredFillIn is called.
    bool deferredExceptions = false;

    // --- Ribbon ---
    /// AddInHost::Connect loads the explorer ribbon (onLoad, all callbacks) before OnConnection instead of after it.
    bool ribbonBeforeConnection = false;
    /// AddInHost::Connect loads no ribbon at all; a test does it by hand with AddInHost::LoadRibbon.
    bool ribbonByHand = false;
    /// onLoad is called twice per XML, each time with a new IRibbonUI.
    bool onLoadTwice = false;
    /// IRibbonControl.Context is always null.
    bool nullContext = false;

    // --- Events ---
    /// Cancel arrives as a plain VT_BOOL, so that it cannot be written back.
    bool cancelByValue = false;
    /// Events with a Cancel argument arrive with no arguments at all.
    bool cancelMissing = false;
    /// The inspector's Close event is delivered inside the next Release of one of its pointers. If there is none, the
    /// next message pump delivers it.
    bool closeInsideRelease = false;
    /// Items and inspectors also fire the events that only report: Read, Open(Cancel), PropertyChange(Name) and Unload
    /// of the item, Activate and Deactivate of the inspector.
    bool noiseEvents = false;

    // --- Life ---
    /// The host goes away without OnBeginShutdown and OnDisconnection (fast shutdown).
    bool fastShutdown = false;

    // --- Windows ---
    /// Inspectors contain the body editor's chain of child windows.
    bool editorChain = true;
    /// Windows draw the add-in's buttons, for which they ask its callbacks whenever they are shown or invalidated. Off,
    /// so that the numbers of calls depend on the test alone.
    bool drawRibbon = false;
    /// QueryInterface for IOleWindow fails with E_NOINTERFACE.
    bool noOleWindow = false;

    // --- Counting ---
    /// QueryInterface and FindConnectionPoint on host objects are numbered calls like Invoke (and can be made to fail;
    /// every kind of failure is then a plain status).
    bool countQueryInterface = false;
};

} // namespace workbench
