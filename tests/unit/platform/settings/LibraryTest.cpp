#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>

#include "Settings.h"

namespace {

struct CloseLibrary {
    void operator()(void* library) const { dlclose(library); }
};
using SharedLibrary = std::unique_ptr<void, CloseLibrary>;

TEST(SettingsLibrary, OffersTheObject) {
    const SharedLibrary library(dlopen(SETTINGS_LIBRARY, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE));
    ASSERT_NE(library, nullptr) << dlerror();
    auto* const object = static_cast<Settings**>(dlsym(library.get(), "settings"));
    ASSERT_NE(object, nullptr) << dlerror();
    ASSERT_NE(*object, nullptr);
    int count = 1;
    U32 value = 0;
    EXPECT_NE((*object)->GetWords("s", "a", &count, &value), 0);
    EXPECT_EQ(count, 0);
}

TEST(SettingsLibrary, KeepsItsInternalsToItself) {
    const SharedLibrary library(dlopen(SETTINGS_LIBRARY, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE));
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_EQ(dlsym(library.get(), "ini_parse_stream"), nullptr);
    EXPECT_EQ(dlsym(library.get(), "ini_max_line"), nullptr);
}

}  // namespace
