// The program's three ways of printing.
#include "TestEngine/te_main_console.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "SI/cm_stub0.h"
#include "SI/si_main.h"
#include "TestEngine/te_main_params.h"

const char k_SingleRule[73] =
    "------------------------------------------------------------------------";
const char k_DoubleRule[73] =
    "========================================================================";

namespace {

constexpr int kDisplayBytes = 10240;
constexpr int kLineBytes = 1024;
constexpr int kTraceBytes = 4096;

FILE* DataLog() {
    return ifstSetupParams.logCtl.logEna != 0 ? ifstSetupParams.logCtl.dataLogHndl : nullptr;
}

// Writes `text` as printf writes a format that takes no arguments. Any other conversion has nothing
// to convert and is written as it stands.
void WriteAsFormat(FILE* file, const char* text) {
    for (const char* p = text; *p != '\0'; ++p) {
        if (p[0] == '%' && p[1] == '%')
            ++p;
        std::fputc(*p, file);
    }
}

}  // namespace

void ifstPrint(const char* format, ...) {
    va_list arguments;
    if (ifstSetupParams.bQuietMode == 0) {
        va_start(arguments, format);
        std::vfprintf(stdout, format, arguments);
        va_end(arguments);
    }
    if (FILE* log = DataLog()) {
        va_start(arguments, format);
        std::vfprintf(log, format, arguments);
        va_end(arguments);
    }
}

void IFSTDISP(const char* format, ...) {
    const ssText buffer = ssTextAlloc(kDisplayBytes);
    if (!buffer) {
        std::puts("!!ERROR!! can not allocate memory ");
        return;
    }
    const ifstDisplayState displaying;
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(buffer.get(), kDisplayBytes, format, arguments);
    va_end(arguments);
    DISPLINES(buffer.get());
}

void DISPLINES(char* text) {
    if (text == nullptr)
        return;
    U32 remaining = cmFindStrLength(text);
    const ssText line = ssTextAlloc(kLineBytes);
    if (!line)
        return;

    for (;;) {
        U32 length = kLineBytes;
        if (DISP_GET_LINE(text, line.get(), &length) == 0)
            return;
        std::printf("%.*s\n", static_cast<int>(length), line.get());
        const U32 used = length + 1;
        if (used >= remaining)
            return;
        text += used;
        remaining -= used;
    }
}

int DISP_GET_LINE(char* text, char* line, U32* maxLength) {
    if (text == nullptr || line == nullptr)
        return 0;
    const char* end = std::strchr(text, '\n');
    if (end == nullptr)
        return 0;
    const auto length = static_cast<U32>(end - text);
    if (length > *maxLength)
        return 0;
    *maxLength = length;
    std::memcpy(line, text, length);
    return 1;
}

void DPF_PRINT(const char* format, ...) {
    const ssText buffer = ssTextAlloc(kTraceBytes);
    if (!buffer) {
        std::puts("\n Can not allocate buffer for printf");
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(buffer.get(), kTraceBytes, format, arguments);
    va_end(arguments);
    if (FILE* log = DataLog())
        WriteAsFormat(log, buffer.get());
}
