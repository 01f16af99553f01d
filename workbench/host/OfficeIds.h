#pragma once

#include "workbench/host/ComHeaders.h"

/// Ids of the Office and Outlook object model that the stand-in answers to. Declared here and not shared with the
/// add-in on purpose: a wrong id on one side must show up as a failing test.
namespace workbench {

/// All Outlook ids and most Office ids differ in their first group only.
constexpr GUID OfficeGuid(unsigned long first) {
    return GUID{first, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
}

inline constexpr GUID kIidApplication = OfficeGuid(0x00063001);
inline constexpr GUID kIidNameSpace = OfficeGuid(0x00063002);
inline constexpr GUID kIidExplorer = OfficeGuid(0x00063003);
inline constexpr GUID kIidExplorers = OfficeGuid(0x0006300A);
inline constexpr GUID kIidInspector = OfficeGuid(0x00063005);
inline constexpr GUID kIidInspectors = OfficeGuid(0x00063008);
inline constexpr GUID kIidAppointmentItem = OfficeGuid(0x00063033);
inline constexpr GUID kIidMailItem = OfficeGuid(0x00063034);
inline constexpr GUID kIidFormDescription = OfficeGuid(0x00063046);
inline constexpr GUID kIidFolders = OfficeGuid(0x00063040);
inline constexpr GUID kIidFolder = OfficeGuid(0x00063006);
inline constexpr GUID kIidLanguageSettings = OfficeGuid(0x000C0353);
inline constexpr GUID kIidRibbonExtensibility = OfficeGuid(0x000C0396);
inline constexpr GUID kIidRibbonControl = OfficeGuid(0x000C0395);
inline constexpr GUID kIidRibbonUi = OfficeGuid(0x000C03A7);
inline constexpr GUID kIidComAddIn = OfficeGuid(0x000C033A);
inline constexpr GUID kIidDtExtensibility2 = {
    0xB65AD801, 0xABAF, 0x11D0, {0xBB, 0x8B, 0x00, 0xA0, 0xC9, 0x0F, 0x27, 0x44}};

// Event interfaces; explorer, inspector and item have two generations each.
inline constexpr GUID kIidExplorersEvents = OfficeGuid(0x00063078);
inline constexpr GUID kIidExplorerEvents = OfficeGuid(0x0006304F);
inline constexpr GUID kIidExplorerEvents10 = OfficeGuid(0x0006300F);
inline constexpr GUID kIidInspectorsEvents = OfficeGuid(0x00063079);
inline constexpr GUID kIidInspectorEvents = OfficeGuid(0x0006307D);
inline constexpr GUID kIidInspectorEvents10 = OfficeGuid(0x0006302A);
inline constexpr GUID kIidItemEvents = OfficeGuid(0x0006303A);
inline constexpr GUID kIidItemEvents10 = OfficeGuid(0x0006302B);

/// DISPIDs of events.
namespace event {
inline constexpr DISPID kNewExplorer = 0xF001;  // ExplorersEvents
inline constexpr DISPID kNewInspector = 0xF001; // InspectorsEvents
inline constexpr DISPID kActivate = 0xF001;     // explorer and inspector
inline constexpr DISPID kDeactivate = 0xF006;   // explorer and inspector
inline constexpr DISPID kWindowClose = 0xF008;  // explorer and inspector
inline constexpr DISPID kRead = 0xF001;         // item, from here on
inline constexpr DISPID kWrite = 0xF002;
inline constexpr DISPID kOpen = 0xF003;
inline constexpr DISPID kItemClose = 0xF004;
inline constexpr DISPID kSend = 0xF005;
inline constexpr DISPID kPropertyChange = 0xF009;
inline constexpr DISPID kBeforeDelete = 0xFA75;
inline constexpr DISPID kUnload = 0xFBAD;
} // namespace event

enum OlMeetingStatus : long {
    kNonMeeting = 0,
    kMeeting = 1,
    kMeetingReceived = 3,
    kMeetingCanceled = 5,
    kMeetingReceivedAndCanceled = 7
};
enum OlInspectorClose : long { kCloseSave = 0, kCloseDiscard = 1, kClosePrompt = 2 };
inline constexpr long kAppointmentItem = 1; // olAppointmentItem
enum ConnectMode : int { kAfterStartup = 0, kStartup = 1, kExternal = 2, kCommandLine = 3 };
enum DisconnectMode : int { kHostShutdown = 0, kUserClosed = 1 };

/// The status that Outlook's store returns for an unknown entry id.
inline constexpr HRESULT kMapiNotFound = static_cast<HRESULT>(0x8004010F);

} // namespace workbench
