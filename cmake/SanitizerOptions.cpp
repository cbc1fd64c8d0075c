// What a sanitizer's run time reads when a program starts. It stands in each sanitized program, so that a
// program behaves alike wherever it is started: by a test, by another program, by hand.

// Tests preload libraries of their own, and the run time would insist on being the first.
extern "C" const char* __asan_default_options() {
    return "verify_asan_link_order=0";
}

// A worker that is cancelled where the communication library waits in poll is unwound out of poll. The
// sanitizer then takes what it still does, closing its endpoint under the table's lock, for a part of
// poll and sees no lock there.
extern "C" const char* __tsan_default_suppressions() {
    return "race:vorl::EndpointTable\n"
           "race:OpenSocket\n";
}
