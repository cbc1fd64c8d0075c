// Common helpers for files, characters and time.
#include "SI/cm_stub1.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>

#include "SI/cm_stub0.h"

const char cmStrDOW[7][3] = {"Su", "Mo", "Tu", "We", "Th", "Fr", "Sa"};

namespace {

// Decimal text without leading zeros, cut to the room: a year of five digits loses its first.
template <std::size_t Size>
void StoreNumber(U32 value, char (&out)[Size]) {
    U32 digits = 1;
    for (U32 rest = value / 10; rest != 0 && digits < Size - 1; rest /= 10)
        ++digits;
    cmConvertU32ToStrLZ(value, out, digits + 1);
}

template <std::size_t Size>
void StoreTwoDigits(int value, char (&out)[Size]) {
    static_assert(Size == 3);
    cmConvertU32ToStrLZ(static_cast<U32>(value), out, Size);
}

}  // namespace

FILE* cmOpenFile(const char* path, const char* mode) {
    return std::fopen(path, mode);
}

int cmCloseFile(FILE* file) {
    return std::fclose(file);
}

FILE* cmOpenRegularFile(const char* path) {
    const int found = open(path, O_PATH | O_CLOEXEC);
    if (found < 0)
        return nullptr;
    struct stat status {};
    FILE* file = nullptr;
    if (fstat(found, &status) == 0 && S_ISREG(status.st_mode)) {
        // What was looked at, whatever its name leads to by now.
        char name[32];
        std::snprintf(name, sizeof(name), "/proc/self/fd/%d", found);
        file = cmOpenFile(name, "r");
    }
    close(found);
    return file;
}

int cmGetSChar(FILE* file) {
    return std::fgetc(file);
}

int cmPutSChar(int character) {
    return std::putchar(character);
}

U32 cmGetSysTimeInSec() {
    return static_cast<U32>(std::time(nullptr));
}

void cmGetSysTimeStr(cmSDate* out) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    if (localtime_r(&now, &local) == nullptr)
        return;

    StoreNumber(static_cast<U32>(local.tm_mday), out->sDay);
    StoreNumber(static_cast<U32>(local.tm_mon + 1), out->sMonth);
    StoreNumber(static_cast<U32>(local.tm_year + 1900), out->sYear);
    StoreTwoDigits(local.tm_hour, out->sHour);
    StoreTwoDigits(local.tm_min, out->sMin);
    StoreTwoDigits(local.tm_sec, out->sSec);
    cmStringCopy(out->sWDay, cmStrDOW[local.tm_wday]);
    std::snprintf(out->sTime, sizeof(out->sTime), "%s:%s:%s", out->sHour, out->sMin, out->sSec);
    std::snprintf(out->sDate, sizeof(out->sDate), "%s, %s-%s-%s", out->sWDay, out->sMonth,
                  out->sDay, out->sYear);
}
