#include "Outlook/AddIns/ComGuard.h"

#include "Outlook/AddIns/LogValues.h"
#include "support/LogLine.h"

HRESULT ReportCaught(const wchar_t* source, const wchar_t* method, HRESULT status) noexcept {
    LogLine(source, method).Error() << L"ended by an exception: 0x" << Hex(status);
    return status;
}
