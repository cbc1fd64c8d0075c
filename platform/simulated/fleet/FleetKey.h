// A key of a fleet file is one row: its name, the member that it fills, how its value is written, and what
// docs/simulated-platform.md says of it.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <variant>

#include "ZelAccessApi.h"

namespace simulated {

// What stands behind a key in a file; nothing for what no key takes, such as a list.
using Written = std::variant<std::monostate, bool, std::int64_t, std::string>;

// Of a number; texts are bounded by their place.
struct Limits {
    U64 least = 0;
    U64 most = 0;
};

// What may be wrong with a value in memory that somebody else wrote.
enum class Damage { None, NoEnd, NoValue };

// A member of `Object`, and how its value is written.
template <typename Object>
struct Field {
    // Takes what is written, or says why not, in words that follow the key's name.
    std::string (*take)(const Written&, const Limits&, Object&);
    // The value as a file gives it; nothing for one that no file gives.
    Written (*give)(const Object&, const Limits&);
    Damage (*damage)(const Object&, const Limits&);
    // What it takes, as the document says it.
    std::string (*form)(const Limits&);

    Limits limits{};
    const char* called = nullptr;  // what the document says instead
    const char* missing =
        nullptr;  // why a table without the key is refused; null: it may be left out

    constexpr Field Called(const char* words) const {
        Field field = *this;
        field.called = words;
        return field;
    }
    constexpr Field Required(const char* refusal) const {
        Field field = *this;
        field.missing = refusal;
        return field;
    }
};

template <typename Object>
struct Key {
    const char* name;
    Field<Object> field;
    const char* meaning = "";    // what the document says behind the form
    const char* byDefault = "";  // as the document says it
    const char* ofEv1x = "";     // the default of the older generation, where it has one of its own
};

template <typename Object, std::size_t Count>
Damage DamageOf(const Key<Object> (&keys)[Count], const std::type_identity_t<Object>& object) {
    for (const Key<Object>& key : keys) {
        const Damage damage = key.field.damage(object, key.field.limits);
        if (damage != Damage::None)
            return damage;
    }
    return Damage::None;
}

}  // namespace simulated
