// The calls of libZelAccessSDK and libvorl as a table, from the rows of Calls.def, which are held here
// against the headers' declarations.
#pragma once

#include <array>
#include <string_view>
#include <type_traits>

#include "ZelAccessApi.h"
#include "vorl.h"

enum class CallFault { Host, Card, Never };
enum class FailedCall { Unchanged, Closed };

struct PlatformCall {
    std::string_view name;
    CallFault fault;
    FailedCall failed;
};

#define PLATFORM_CALL(fault, failed, result, name, parameters, arguments, told) \
    PlatformCall{#name, CallFault::fault, FailedCall::failed},
#define ACCESS_CALL PLATFORM_CALL
#define VORL_CALL PLATFORM_CALL
inline constexpr auto kPlatformCalls = std::to_array<PlatformCall>({
#include "Calls.def"
});
#undef PLATFORM_CALL

// Whether `arguments`, "(handle, uuid)", are the names in `parameters`, "(HANDLE handle, U8* uuid)".
// Two numbers that change places are no other type.
constexpr bool NamesItsParameters(std::string_view parameters, std::string_view arguments) {
    constexpr std::string_view kSeparators = "(,) *";
    while (true) {
        const std::size_t first = arguments.find_first_not_of(kSeparators);
        const std::size_t end = parameters.find_first_of(",)");
        if (first == arguments.npos)
            return parameters == "()" || parameters == ")" || parameters.empty();
        if (end == parameters.npos)
            return false;
        arguments.remove_prefix(first);
        const std::string_view argument = arguments.substr(0, arguments.find_first_of(kSeparators));
        const std::string_view parameter = parameters.substr(0, end);
        if (parameter.substr(parameter.find_last_of(kSeparators) + 1) != argument)
            return false;
        arguments.remove_prefix(argument.size());
        parameters.remove_prefix(end + 1);
    }
}

#define PLATFORM_CALL(fault, failed, result, name, parameters, arguments, told) \
    static_assert(std::is_same_v<decltype(name), result parameters>,            \
                  #name " is declared otherwise");                              \
    static_assert(NamesItsParameters(#parameters, #arguments), #name " passes on something else");
#define ACCESS_CALL PLATFORM_CALL
#define VORL_CALL PLATFORM_CALL
#include "Calls.def"
#undef PLATFORM_CALL
