#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "PlyxDebug.h"

namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

struct CloseLibrary {
    void operator()(void* library) const { dlclose(library); }
};

// The library's object is never destroyed; the library that reads the environment is loaded once.
TEST(TraceLibrary, OffersTheObjectAndObeysTheEnvironment) {
    setenv("PLYX_DEBUG_LEVEL", "WARNING", 1);
    const std::unique_ptr<void, CloseLibrary> library(
        dlopen(TRACE_LIBRARY, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE));
    unsetenv("PLYX_DEBUG_LEVEL");
    ASSERT_NE(library, nullptr) << dlerror();
    auto* const object = static_cast<PlyxDebug**>(dlsym(library.get(), "plyxDbg"));
    ASSERT_NE(object, nullptr) << dlerror();
    ASSERT_NE(*object, nullptr);

    PlyxDebugInfo site = {1, 1, "LibraryTest", true, 0};
    CaptureStderr();
    (*object)->Print(site, DLVL_WARNING, "shown %d\n", 1);
    (*object)->Print(site, DLVL_TRACE, "hidden\n");
    EXPECT_EQ(GetCapturedStderr(), "shown 1\n");
}

}  // namespace
