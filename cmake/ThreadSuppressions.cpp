// What the thread sanitizer is not to report in the tool. No other program has this, so that the library's
// own tests are reported whatever they find.

// A worker that is cancelled where the communication library waits in poll is unwound out of poll. The
// sanitizer then takes what it still does, closing its endpoint under the table's lock, for a part of
// poll and sees no lock there.
extern "C" const char* __tsan_default_suppressions() {
    return "race:vorl::EndpointTable\n"
           "race:OpenSocket\n";
}
