// The fields of a record, by name: what can be relied on of a stream that somebody else has written, and of what
// this program writes itself.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "record/Record.h"

namespace zelhealth {

// Why a field's value is none that its name allows ("is no text"); empty when it is one, or when the name is
// not known. docs/zelhealth-stream.schema.json says more about each; this is what readers build on.
std::string_view WhyUnfit(std::string_view name, const Json& value);

// Leaves the fields that are unfit out of a record; each is told first, with why.
void LeaveOutUnfit(Json& record,
                   const std::function<void(const std::string& name, std::string_view why)>& tell);

// A field's text, number or list; empty and 0 where the record has no such field, or one of another type.
const std::string& TextOf(const Json& record, std::string_view name);
double NumberOf(const Json& record, std::string_view name);
std::vector<std::string> TextsOf(const Json& record, std::string_view name);

// Elements of a list; none where there is none.
const Json& ListOf(const Json& record, std::string_view name);

}  // namespace zelhealth
