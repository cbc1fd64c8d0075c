// What the address sanitizer's run time reads when a program starts. It stands in each sanitized program, so
// that a program behaves alike wherever it is started: by a test, by another program, by hand.

// Tests preload libraries of their own, and the run time would insist on being the first.
extern "C" const char* __asan_default_options() {
    return "verify_asan_link_order=0";
}
