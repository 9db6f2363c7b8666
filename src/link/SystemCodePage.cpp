#include "link/SystemCodePage.h"

#include "link/codec/CodePage.h"

#include <windows.h>

void UseSystemCodePage() {
    CPINFO info = {};
    if (GetCPInfo(CP_ACP, &info))
        UseCodePage(info.LeadByte, GetACP() == CP_UTF8);
}
