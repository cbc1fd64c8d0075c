// Reads the tables of a fleet file by the rows of their keys. What is wrong is thrown as FleetError, with
// its line.
#pragma once

#include <toml++/toml.h>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

#include "fleet/FleetKey.h"

namespace simulated {

class Reader {
public:
    explicit Reader(const std::string& path) : path_(path) {}

    [[noreturn]] void Fail(const toml::node& where, const std::string& reason) const;
    [[noreturn]] void FailAt(std::size_t line, const std::string& reason) const;

private:
    std::string path_;
};

// In quotes, as it stands in a file.
std::string Quoted(std::string_view text);

Written WrittenAt(const toml::node& node);

// A number that is less here than its key takes elsewhere.
struct Narrowed {
    std::string_view key;
    U64 most;
};

class TableReader {
public:
    // `name` is that of FleetTables().
    TableReader(const Reader& reader, const toml::table& source, std::string name)
        : reader_(reader), source_(source), name_(std::move(name)) {}

    // Fills what the table gives.
    template <typename Object, std::size_t Count>
    void Read(const Key<Object> (&keys)[Count], std::type_identity_t<Object>& object,
              std::initializer_list<Narrowed> narrowed = {}) const {
        for (const Key<Object>& key : keys) {
            const toml::node* node = source_.get(key.name);
            if (node == nullptr)
                continue;
            Limits limits = key.field.limits;
            for (const Narrowed& row : narrowed) {
                if (row.key == key.name)
                    limits.most = std::min(limits.most, row.most);
            }
            const std::string refusal = key.field.take(WrittenAt(*node), limits, object);
            if (!refusal.empty())
                reader_.Fail(*node, key.name + refusal);
        }
    }

    template <typename Object, std::size_t Count>
    void RefuseMissingKeys(const Key<Object> (&keys)[Count]) const {
        for (const Key<Object>& key : keys) {
            if (key.field.missing != nullptr && source_.get(key.name) == nullptr)
                reader_.Fail(source_, key.field.missing);
        }
    }

    void ForEachTable(const std::string& key,
                      const std::function<void(const toml::table&)>& visit) const;

    // Null where there is none.
    const toml::table* SubTable(const std::string& key) const;

    void RefuseUnknownKeys() const;

private:
    std::string NameOf(const std::string& key) const {
        return name_.empty() ? key : name_ + "." + key;
    }

    const Reader& reader_;
    const toml::table& source_;
    std::string name_;
};

}  // namespace simulated
