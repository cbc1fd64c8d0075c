// Stands in for libSettings: answers from what the test set.
//
// At the beginning of a test it holds what fits the default card (see FakeZelAccess.h).
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Settings.h"

namespace fakes {

class FakeSettings final : public Settings {
public:
    void SetWords(const std::string& section, const std::string& key, std::vector<U32> values);
    void SetTexts(const std::string& section, const std::string& key,
                  std::vector<std::string> values);
    void Remove(const std::string& section, const std::string& key);

    // Load, or each read of the key, returns `status` from now on. A failure that no call meets fails
    // the test.
    void FailLoad(int status);
    void Fail(const std::string& section, const std::string& key, int status);

    void Reset();
    void Verify();

    int Load(const char* directory) override;
    int GetWords(const char* section, const char* key, int* count, U32* values) override;
    int GetStrings(const char* section, const char* key, int* count, const char** texts) override;

private:
    using Key = std::pair<std::string, std::string>;
    struct Failure {
        int status = 0;
        bool met = false;
    };

    int FailureOf(const Key& key);

    std::map<Key, std::vector<U32>> words_;
    std::map<Key, std::vector<std::string>> texts_;
    std::map<Key, Failure> failures_;
    Failure loadFailure_;
};

FakeSettings& SettingsFake();

}  // namespace fakes
