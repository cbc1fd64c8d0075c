// The linker sends calls of these functions here (--wrap, by their names as objects have them).
#include "StandIns.h"

#include <sys/types.h>

#include <cstdio>
#include <cstring>

namespace {

constexpr uid_t kOtherUser = 1000;

bool isRoot = true;

}  // namespace

void fuzz::BeRoot(bool root) {
    isRoot = root;
}

bool fuzz::IsReadable(const char* path) {
    return std::strcmp(path, "/etc/hosk/te_doc.t") == 0 || std::strncmp(path, "readable", 8) == 0;
}

extern "C" {

// ssExitTask(int)
[[noreturn]] void __wrap__Z10ssExitTaski(int status) {
    throw fuzz::ProcessEnd{status};
}

// cmOpenRegularFile(const char*)
FILE* __wrap__Z17cmOpenRegularFilePKc(const char* path) {
    if (!fuzz::IsReadable(path))
        return nullptr;
    return fmemopen(const_cast<char*>(fuzz::kFileText), sizeof(fuzz::kFileText) - 1, "r");
}

uid_t __wrap_geteuid() {
    return isRoot ? 0 : kOtherUser;
}

}  // extern "C"
