// Readers of typed task arguments.
#include "CommonTool/ToolData.h"

#include "Fixture.h"

namespace {

class ToolData : public fakes::Fixture {
protected:
    static ActualArg Arg(ArgType type, const char* text) { return {type, text, nullptr}; }

    // Expects a plain std::exception and one error record of this text.
    template <typename Read>
    void ExpectRefused(Read read, const std::string& message, const char* input) {
        fakes::Trace().Reset();
        try {
            read();
            ADD_FAILURE() << "accepted: " << input;
        } catch (const std::exception& refusal) {
            EXPECT_EQ(typeid(refusal), typeid(std::exception)) << input;
        }
        EXPECT_EQ(fakes::Trace().TextsAt(DLVL_ERROR), std::vector<std::string>{message}) << input;
    }
};

TEST_F(ToolData, ReadsU64) {
    for (const auto& [text, value] :
         std::vector<std::pair<const char*, U64>>{{"42", 42},
                                                  {"", 0},
                                                  {"0", 0},
                                                  {"0012", 0},
                                                  {"0123", 0},
                                                  {"0x1F", 31},
                                                  {"0X1f", 31},
                                                  {"09z", 0},
                                                  {"140737488355328", 140737488355328ULL},
                                                  {"0xFFFFFFFFFFFFFFFF", 0xFFFFFFFFFFFFFFFFULL},
                                                  {"0x", 0}}) {
        ActualArg arg = Arg(ARGTYPE_U64, text);
        EXPECT_EQ(Get_U64(arg), value) << text;
    }
    for (const char* text : {"12a", "-1", " 1", "0x1G", "0x-1", "abc"}) {
        ActualArg arg = Arg(ARGTYPE_U64, text);
        ExpectRefused([&] { Get_U64(arg); },
                      std::string(text) + ": is an invalid parameter, expecting an integer\n",
                      text);
    }
}

TEST_F(ToolData, ReadsZeroForAU64OfAnotherType) {
    ActualArg arg = Arg(ARGTYPE_INT, "5");
    EXPECT_EQ(Get_U64(arg), 0U);
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_ERROR),
              std::vector<std::string>{"Passed wrong argument for int\n"});
}

TEST_F(ToolData, ReadsInt) {
    for (const auto& [text, value] : std::vector<std::pair<const char*, int>>{{"-1", -1},
                                                                              {"0", 0},
                                                                              {" 7", 7},
                                                                              {"+7", 7},
                                                                              {"12abc", 12},
                                                                              {"0x10", 16},
                                                                              {"0XfF", 255},
                                                                              {"010", 10},
                                                                              {"0xFFFFFFFF", -1}}) {
        ActualArg arg = Arg(ARGTYPE_INT, text);
        EXPECT_EQ(Get_int(arg), value) << text;
    }
    for (const char* text : {"0x", "abc", "", "-"}) {
        ActualArg arg = Arg(ARGTYPE_INT, text);
        ExpectRefused([&] { Get_int(arg); }, "Passed wrong argument for int\n", text);
    }
    ActualArg hex = Arg(ARGTYPE_INT, "0xG1");
    ExpectRefused([&] { Get_int(hex); },
                  "0xG1: is an invalid parameter, expecting a hexadecimal integer\n", "0xG1");
    ActualArg type = Arg(ARGTYPE_U64, "1");
    ExpectRefused([&] { Get_int(type); }, "Passed wrong argument for int\n", "U64");
}

TEST_F(ToolData, ReadsBool) {
    for (const auto& [text, value] : std::vector<std::pair<const char*, bool>>{
             {"true", true}, {"TRUE", true}, {"False", false}}) {
        ActualArg arg = Arg(ARGTYPE_BOOL, text);
        EXPECT_EQ(Get_bool(arg), value) << text;
    }
    for (const char* text : {"yes", "", "1", "true "}) {
        ActualArg arg = Arg(ARGTYPE_BOOL, text);
        ExpectRefused([&] { Get_bool(arg); },
                      "Invalid Parameter, expected only 'true' or 'false'\n", text);
    }
    ActualArg type = Arg(ARGTYPE_STRING, "true");
    ExpectRefused([&] { Get_bool(type); }, "Passed wrong argument for bool\n", "string");
}

TEST_F(ToolData, ReadsFloat) {
    for (const auto& [text, value] : std::vector<std::pair<const char*, float>>{
             {"1.5", 1.5F}, {"-2e3 x", -2000.0F}, {"abc", 0.0F}, {"", 0.0F}}) {
        ActualArg arg = Arg(ARGTYPE_FLOAT, text);
        EXPECT_EQ(Get_float(arg), value) << text;
    }
    ActualArg type = Arg(ARGTYPE_INT, "1");
    ExpectRefused([&] { Get_float(type); }, "Passed wrong argument for float\n", "int");
}

TEST_F(ToolData, ReadsString) {
    ActualArg arg = Arg(ARGTYPE_STRING, " as is ");
    EXPECT_STREQ(Get_string(arg), " as is ");
    ActualArg type = Arg(ARGTYPE_INT, "1");
    ExpectRefused([&] { Get_string(type); }, "Passed wrong argument for char *\n", "int");
}

}  // namespace
