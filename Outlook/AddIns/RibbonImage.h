#pragma once

#include <windows.h>
#include <ocidl.h>

/// Makes a picture from a PNG resource of the module. User-interface thread.
/// @param imageName the resource's number in decimal, as in the custom UI.
/// @param image receives a new picture that the caller releases.
HRESULT LoadRibbonImage(const wchar_t* imageName, IPictureDisp** image);
