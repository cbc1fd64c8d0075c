// The scripted settings object. A missing key fails with 1, as in the library.
#include "FakeSettings.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "Journal.h"

namespace fakes {

namespace {

constexpr int kMissing = 1;

std::string ReadCall(const char* operation, const char* section, const char* key, int capacity) {
    return std::string("settings.") + operation + "(" + Quote(section) + ", " + Quote(key) + ", " +
           std::to_string(capacity) + ")";
}

// Hands out the values of a key, each turned into what the caller's array holds.
template <typename Values, typename Item, typename Convert>
int HandOut(const Values& values, int* count, Item* items, Convert convert) {
    const auto capacity = static_cast<std::size_t>(std::max(*count, 0));
    const std::size_t filled = std::min(capacity, values.size());
    std::transform(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(filled), items,
                   convert);
    *count = static_cast<int>(values.size());
    return 0;
}

}  // namespace

FakeSettings& SettingsFake() {
    static FakeSettings* const fake =
        new FakeSettings;  // outlives every static object of the program
    return *fake;
}

void FakeSettings::SetWords(const std::string& section, const std::string& key,
                            std::vector<U32> values) {
    words_[{section, key}] = std::move(values);
}

void FakeSettings::SetTexts(const std::string& section, const std::string& key,
                            std::vector<std::string> values) {
    texts_[{section, key}] = std::move(values);
}

void FakeSettings::Remove(const std::string& section, const std::string& key) {
    words_.erase({section, key});
    texts_.erase({section, key});
}

void FakeSettings::FailLoad(int status) {
    loadFailure_ = {status, false};
}

void FakeSettings::Fail(const std::string& section, const std::string& key, int status) {
    failures_[{section, key}] = {status, false};
}

void FakeSettings::Reset() {
    words_.clear();
    texts_.clear();
    failures_.clear();
    loadFailure_ = {};
    SetWords("pcieConfigReg", "deviceID", {0x00501F5A, 0x00401F5A});
    SetWords("pcieConfigReg", "revisionID", {0x20, 0x10});
    SetWords("pcieConfigReg", "subsystemVendorID", {0x1F5A});
    SetWords("pcieConfigReg", "subsystemID", {0x0002, 0x0001});
    SetTexts("gddr", "vendor", {"Elmwood", "Ashgrove"});
}

void FakeSettings::Verify() {
    EXPECT_TRUE(loadFailure_.status == 0 || loadFailure_.met)
        << "settings.Load was to fail and was not called";
    for (const auto& [key, failure] : failures_) {
        EXPECT_TRUE(failure.met) << "reading " << key.first << "/" << key.second
                                 << " was to fail and was not read";
    }
}

int FakeSettings::FailureOf(const Key& key) {
    const auto failure = failures_.find(key);
    if (failure == failures_.end()) {
        return 0;
    }
    failure->second.met = true;
    return failure->second.status;
}

int FakeSettings::Load(const char* directory) {
    TheJournal().Add("settings.Load(" + Quote(directory) + ")");
    loadFailure_.met = true;
    return loadFailure_.status;
}

int FakeSettings::GetWords(const char* section, const char* key, int* count, U32* values) {
    TheJournal().Add(ReadCall("GetWords", section, key, *count));
    const int status = FailureOf({section, key});
    const auto found = words_.find({section, key});
    if (status != 0 || found == words_.end()) {
        *count = 0;
        return status != 0 ? status : kMissing;
    }
    return HandOut(found->second, count, values, [](U32 value) { return value; });
}

int FakeSettings::GetStrings(const char* section, const char* key, int* count, const char** texts) {
    TheJournal().Add(ReadCall("GetStrings", section, key, *count));
    const int status = FailureOf({section, key});
    const auto found = texts_.find({section, key});
    if (status != 0 || found == texts_.end()) {
        *count = 0;
        return status != 0 ? status : kMissing;
    }
    return HandOut(found->second, count, texts,
                   [](const std::string& text) { return text.c_str(); });
}

}  // namespace fakes

Settings* settings = &fakes::SettingsFake();
