// Marked texts, as a terminal shows them, and those that are wrong.
#include "catalogue/Markup.h"

#include <gtest/gtest.h>

namespace zelhealth {
namespace {

TEST(Markup, IsShownAsPeopleReadIt) {
    const std::pair<const char*, const char*> rows[] = {
        {"no marks", "no marks"},
        {"", ""},
        {"put it into {Pa Settings.ini}.", "put it into Settings.ini."},
        {"{Fl startAddress}, {Fl dbgLvl}=4", "-startAddress, -dbgLvl=4"},
        {"below {Ql Output from}", "below \"Output from\""},
        {"{Xr scp 1} failed", "scp(1) failed"},
        {"{Xr a page 8}", "a page(8)"},
        {"{Xr page}", "page"},
        {"see {Sx LITTLE MEMORY}", "see LITTLE MEMORY in ZelDiag-messages(7)"},
        {"{Ev PATH} and {Li [gddr]} {Li vendor}", "PATH and [gddr] vendor"},
    };
    for (const auto& [marked, plain] : rows)
        EXPECT_EQ(Plain(marked), plain);
}

TEST(Markup, ThatIsWrongIsRefused) {
    for (const char* marked : {"{Pa Settings.ini", "Settings.ini}", "{Pa {Fl x}}", "{Pa a{",
                               "{Zz x}", "{Pa}", "{Pa }", "{}", "a } b", "{pa x}"})
        EXPECT_THROW(MarkedPieces(marked), std::runtime_error) << marked;
}

}  // namespace
}  // namespace zelhealth
