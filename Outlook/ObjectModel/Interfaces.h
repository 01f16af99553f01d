#pragma once

#include "Outlook/ObjectModel/ComPointers.h"

/// The host's interfaces as identities for QueryInterface. Their members are called by name, so each type is an
/// IDispatch without further slots.

// One compiler takes an interface's id from an attribute of the type, the other from a declaration at global scope.
#ifndef __CRT_UUID_DECL
#define __CRT_UUID_DECL(type, ...)
#endif
#define OUTLOOK_INTERFACE(type, text, number)                                                                          \
    namespace Outlook {                                                                                                \
    MIDL_INTERFACE(text) type : public IDispatch{};                                                                    \
    }                                                                                                                  \
    __CRT_UUID_DECL(Outlook::type, number, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46)                                         \
    namespace Outlook {                                                                                                \
    _COM_SMARTPTR_TYPEDEF(type, __uuidof(type));                                                                       \
    }

OUTLOOK_INTERFACE(_Application, "00063001-0000-0000-C000-000000000046", 0x00063001)
OUTLOOK_INTERFACE(_NameSpace, "00063002-0000-0000-C000-000000000046", 0x00063002)
OUTLOOK_INTERFACE(_Explorer, "00063003-0000-0000-C000-000000000046", 0x00063003)
OUTLOOK_INTERFACE(_Inspector, "00063005-0000-0000-C000-000000000046", 0x00063005)
OUTLOOK_INTERFACE(MAPIFolder, "00063006-0000-0000-C000-000000000046", 0x00063006)
OUTLOOK_INTERFACE(_Inspectors, "00063008-0000-0000-C000-000000000046", 0x00063008)
OUTLOOK_INTERFACE(_Explorers, "0006300A-0000-0000-C000-000000000046", 0x0006300A)
OUTLOOK_INTERFACE(_AppointmentItem, "00063033-0000-0000-C000-000000000046", 0x00063033)
OUTLOOK_INTERFACE(_Folders, "00063040-0000-0000-C000-000000000046", 0x00063040)
OUTLOOK_INTERFACE(FormDescription, "00063046-0000-0000-C000-000000000046", 0x00063046)
OUTLOOK_INTERFACE(ItemEvents_10, "0006302B-0000-0000-C000-000000000046", 0x0006302B)
// The first generation of each event interface.
OUTLOOK_INTERFACE(ExplorerEvents, "0006304F-0000-0000-C000-000000000046", 0x0006304F)
OUTLOOK_INTERFACE(ExplorersEvents, "00063078-0000-0000-C000-000000000046", 0x00063078)
OUTLOOK_INTERFACE(InspectorsEvents, "00063079-0000-0000-C000-000000000046", 0x00063079)
OUTLOOK_INTERFACE(InspectorEvents, "0006307D-0000-0000-C000-000000000046", 0x0006307D)
OUTLOOK_INTERFACE(LanguageSettings, "000C0353-0000-0000-C000-000000000046", 0x000C0353)
OUTLOOK_INTERFACE(IRibbonControl, "000C0395-0000-0000-C000-000000000046", 0x000C0395)
OUTLOOK_INTERFACE(IRibbonUI, "000C03A7-0000-0000-C000-000000000046", 0x000C03A7)

#undef OUTLOOK_INTERFACE
