// The settings object: loads a file and answers from what was loaded.
//
// No exception leaves an operation; running out of memory is a failure like any other.
#pragma once

#include <string>

#include "Settings.h"
#include "SettingsDocument.h"

class FileSettings final : public Settings {
public:
    int Load(const char* directory) override;
    int GetWords(const char* section, const char* key, int* count, U32* values) override;
    int GetStrings(const char* section, const char* key, int* count, const char** texts) override;

private:
    std::string path_;
    SettingsDocument document_;
};
