// Resource ids, shared by the resource script and the code. Only #defines: the resource compiler reads this file too.
#pragma once

// The icon of every dialog.
#define IDI_ADDIN 101

// The code appends this number to the module's path to load the type library.
#define IDR_TYPELIB 102

// Custom UI, resource type "XML".
#define IDR_RIBBON_EXPLORER 103
#define IDR_RIBBON_APPOINTMENT 104

// Labels; 2xx Chinese, 3xx English.
#define IDS_START_ZH 201
#define IDS_START_VIDEO_ZH 202
#define IDS_START_AUDIO_ZH 203
#define IDS_SCHEDULE_ZH 204
#define IDS_CANCEL_ZH 205
#define IDS_SETTINGS_ZH 206
#define IDS_GROUP_ZH 207
#define IDS_START_EN 301
#define IDS_START_VIDEO_EN 302
#define IDS_START_AUDIO_EN 303
#define IDS_SCHEDULE_EN 304
#define IDS_CANCEL_EN 305
#define IDS_SETTINGS_EN 306
#define IDS_GROUP_EN 307

// Button images, resource type "PNG". The custom UI names them by number (image="401").
#define IDB_START 401
#define IDB_SCHEDULE 402
#define IDB_MODIFY 403
#define IDB_CANCEL 404
#define IDB_START_VIDEO 405
#define IDB_START_AUDIO 406

// Dialogs.
#define IDD_LOGIN_ZH 501
#define IDD_LOGIN_EN 503
#define IDD_SCHEDULING_ZH 505
#define IDD_SCHEDULING_EN 507
#define IDD_SYNC_ZH 509
#define IDD_SYNC_EN 511
#define IDD_UPDATED_ZH 513
#define IDD_UPDATED_EN 515

// Buttons of the synchronisation dialogs. The number is the result of the modal dialog.
#define IDC_SYNC_NOW 4
#define IDC_SYNC_LATER 5
