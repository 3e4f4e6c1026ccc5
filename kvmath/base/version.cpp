#include <kvmath/base/version.h>
#include <kvmath/base/version_p.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace KvMath {
namespace {

// Numbers of the interface, not derived from the date.
constexpr unsigned kMajor = 2;
constexpr unsigned kMinor = 1;
constexpr unsigned kPatch = 0;

constexpr int kMonth = 0;  // where the fields of the date begin
constexpr int kDay = 4;
constexpr int kYear = 7;
constexpr std::size_t kDateSize = 16;

char libraryName[] = "KvMath library";
char versionText[Internal::kVersionSize] = {};  // empty until the first GetVersion

// Only as many letters decide as are needed to tell the twelve months apart.
int monthNumber(const char* month) {
    switch (month[0]) {
    case 'J':
        if (month[1] == 'a')
            return 1;
        if (month[1] == 'u' && month[2] == 'n')
            return 6;
        return month[1] == 'u' && month[2] == 'l' ? 7 : 0;
    case 'F':
        return 2;
    case 'M':
        if (month[1] != 'a')
            return 0;
        return month[2] == 'r' ? 3 : (month[2] == 'y' ? 5 : 0);
    case 'A':
        return month[1] == 'p' ? 4 : (month[1] == 'u' ? 8 : 0);
    case 'S':
        return 9;
    case 'O':
        return 10;
    case 'N':
        return 11;
    case 'D':
        return 12;
    default:
        return 0;
    }
}

int number(const char* text, int length) {
    int i = 0;
    while (i < length && text[i] == ' ')
        ++i;
    int value = 0;
    for (; i < length && text[i] >= '0' && text[i] <= '9'; ++i)
        value = value * 10 + (text[i] - '0');
    return value;
}

}  // namespace

void Internal::formatVersion(const char* buildDate, char (&version)[kVersionSize]) {
    char date[kDateSize] = {};
    std::copy_n(buildDate, std::min(std::strlen(buildDate), kDateSize - 1), date);
    std::snprintf(version, kVersionSize, "%u.%u.%u.%04d%02d%02d", kMajor, kMinor, kPatch,
                  number(date + kYear, 4), monthNumber(date + kMonth), number(date + kDay, 2));
}

void GetVersion(char*& name, char*& version) {
    if (versionText[0] == '\0')
        Internal::formatVersion(KVMATH_BUILD_DATE, versionText);
    name = libraryName;
    version = versionText;
}

}  // namespace KvMath
