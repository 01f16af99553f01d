#pragma once

#include "Outlook/AddIns/Language.h"
#include "resources/resource.h"

#include <windows.h>

class OwnerWindow;

/// Resource ids of one dialog, one for each language.
using DialogTemplates = PerLanguage<int>;

inline constexpr DialogTemplates kLoginDialog{IDD_LOGIN_ZH, IDD_LOGIN_EN};
inline constexpr DialogTemplates kSyncDialog{IDD_SYNC_ZH, IDD_SYNC_EN};
inline constexpr DialogTemplates kUpdatedDialog{IDD_UPDATED_ZH, IDD_UPDATED_EN};

/// Shows a modal dialog. Messages are pumped until the user has closed it.
/// @return the id of the button, IDCANCEL for the close box, -1 when the dialog cannot be shown. User-interface thread.
INT_PTR ShowDialog(const DialogTemplates& dialog, Language language, const OwnerWindow& owner);
