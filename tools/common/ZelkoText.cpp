#include "tools/common/ZelkoText.h"

#include "platform/mCharset.h"

// 16 multibyte characters, EUC-KR like the library's own conversion.
std::string ZelkoNameText(const unsigned char* name16)
{
    unsigned short wide[17] = {};
    UtilMbcsToWide3(name16, 16, wide, 16);
    unsigned char utf8[16 * 3 + 1] = {};
    UtilWideToUtf8(wide, utf8);
    return reinterpret_cast<const char*>(utf8);
}
