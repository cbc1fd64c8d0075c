// The texts of the tool on which its reader relies. The suite holds each of them against the tool.
#pragma once

#include <string_view>

namespace zelhealth::tool {

constexpr std::string_view kVersion = "ZelDiag v";  // its first line where it has no words
constexpr std::string_view kRunning = "Running Coprocessor Diagnostics on device ";
constexpr std::string_view kVersions = "HOSK Version=";
constexpr std::string_view kBegins = " : BEGINS";
constexpr std::string_view kEnds = " : ENDS";
constexpr std::string_view kTest = "Test ";
constexpr std::string_view kGroup = "Test Group [";
constexpr std::string_view kFollowing = "            Following tests have failed:          ";
constexpr std::string_view kCompleted = "Coprocessor Diagnostics completed for device: ";
constexpr std::string_view kStatusOk = "Device Status: OK";
constexpr std::string_view kStatusFailed = "Device Status: FAILED";
constexpr std::string_view kCardNotClosed = "Failed to close adapter for device: ";
constexpr std::string_view kLibraryNotClosed = "Failed to close API for device id: ";
constexpr std::string_view kSummary = "HOSK Version: ";
constexpr std::string_view kNoErrors = "No ZEL Cards with Errors.";
constexpr std::string_view kErrors = "ZEL Card Numbers with Errors: ";
constexpr std::string_view kPassed = "PASSED";
constexpr std::string_view kFailed = "FAILED";
constexpr std::string_view kAborted = "ABORTED";
constexpr std::string_view kNoTest = "<none>";  // in the summary, of a group that was skipped

// Between title and verdict, of a test that does nothing on this card and passes.
constexpr std::string_view kNotSupported = "Test not supported on this device";

// In front of a card's header.
constexpr std::string_view kNoAccess = "Error in zelAccess->setAccessHandle";
constexpr std::string_view kError = "An error has occurred: ";
constexpr std::string_view kSettingsError = "An error has occurred: Could process settings";
constexpr std::string_view kArgumentsError = "An error has occurred: Could not parse arguments";
constexpr std::string_view kInvalidArgument = "Invalid argument: ";  // to standard error
constexpr std::string_view kTooManyCards = "Detected more than supported devices";
constexpr std::string_view kNoDriver = "ERROR: The 'zel' driver module is not loaded!";

// Reasons in the summary that are this host's fault.
constexpr std::string_view kSettingsReasons[] = {
    "Failed to read settings.ini for valid device ID",
    "Failed to read Settings.ini",
    "Too many GDDR vendors in Settings.ini",
};

// Reasons in the summary that are those of a test's options, where it has some of its own.
constexpr std::string_view kOptionsReasons[] = {
    "Memory Test parameter validation fail",
    "Test range if greater than available memory",
};

// In front of what is wrong with them, to standard error.
constexpr std::string_view kInvalidOptions = "Invalid arguments, ";

// What the loader says, and the shell's status for a program that does not start.
constexpr std::string_view kLibraryMissing = "error while loading shared libraries";
constexpr int kNotStarted = 127;

// The tool's status for who is not root.
constexpr int kNotRoot = 251;

constexpr std::size_t kCardRule = 72;     // "-" and "=" around a card's report
constexpr std::size_t kSummaryRule = 78;  // "=" around the summary

}  // namespace zelhealth::tool
