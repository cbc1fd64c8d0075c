// The rows of the keys: each fills a member of its own, gives back what it took, and says the default that
// an object without it has.
#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "fleet/CardKeys.h"
#include "fleet/FaultKeys.h"
#include "fleet/FleetTables.h"
#include "fleet/HostKeys.h"

namespace simulated {
namespace {

// One of these is a value of each key, and no default.
const std::vector<Written> kValues = {
    std::int64_t{1},          std::int64_t{2},
    std::int64_t{0},          true,
    std::string("ev1x"),      std::string("0001:83:01.2"),
    std::string("offline"),   std::string("3s"),
    std::string("2.3.4"),     std::string("ffeeddcc-bbaa-9988-7766-554433221100"),
    std::string("silent"),    std::string("card"),
    std::string("add"),       std::string("link"),
    std::string("some text"),
};

template <typename Object, std::size_t Count>
std::vector<Written> GivenBy(const Key<Object> (&keys)[Count], const Object& object) {
    std::vector<Written> values;
    for (const Key<Object>& key : keys)
        values.push_back(key.field.give(object, key.field.limits));
    return values;
}

template <typename Object, std::size_t Count>
void ExpectOwnMembers(const Key<Object> (&keys)[Count]) {
    const std::vector<Written> before = GivenBy(keys, Object());
    for (std::size_t i = 0; i < Count; ++i) {
        SCOPED_TRACE(keys[i].name);
        const Field<Object>& field = keys[i].field;
        bool changed = false;
        for (std::size_t n = 0; n < kValues.size() && !changed; ++n) {
            Object object;
            if (!field.take(kValues[n], field.limits, object).empty())
                continue;
            std::vector<Written> after = GivenBy(keys, object);
            changed = after[i] != before[i];
            Object again;
            EXPECT_EQ(field.take(after[i], field.limits, again), "");
            EXPECT_EQ(GivenBy(keys, again), after);
            after[i] = before[i];
            EXPECT_EQ(after, before) << "another key has the member, too";
        }
        EXPECT_TRUE(changed) << "none of the values changes anything";
    }
}

TEST(FleetKeys, EachFillsAMemberOfItsOwn) {
    ExpectOwnMembers(kHostKeys);
    ExpectOwnMembers(kCardKeys);
    ExpectOwnMembers(kFaultKeys);
    ExpectOwnMembers(kMemoryFaultKeys);
    ExpectOwnMembers(kAddressFaultKeys);
    ExpectOwnMembers(kDmaFaultKeys);
    ExpectOwnMembers(kVpuFaultKeys);
    ExpectOwnMembers(kCacheFaultKeys);
}

// What a default in the document, such as `0xF`, is in a file; nothing for one that is described.
std::optional<Written> Read(std::string_view text) {
    if (text.size() < 3 || text.front() != '`' || text.find('`', 1) != text.size() - 1)
        return std::nullopt;
    const std::string value(text.substr(1, text.size() - 2));
    if (value == "true" || value == "false")
        return value == "true";
    if (value.front() != '"')
        return static_cast<std::int64_t>(std::stoull(value, nullptr, 0));
    std::string unquoted;
    for (std::size_t i = 1; i + 1 < value.size(); ++i) {
        if (value[i] != '\\')
            unquoted += value[i];
    }
    return unquoted;
}

// Expects the defaults to make what `healthy` is, and returns the keys that do not say one by its value.
template <typename Object, std::size_t Count>
std::set<std::string> ExpectDefaults(const Key<Object> (&keys)[Count],
                                     const std::type_identity_t<Object>& healthy,
                                     bool isEv1x = false) {
    std::set<std::string> described;
    for (const Key<Object>& key : keys) {
        const auto value = Read(isEv1x && *key.ofEv1x != '\0' ? key.ofEv1x : key.byDefault);
        if (!value) {
            described.insert(key.name);
            continue;
        }
        Object object;
        EXPECT_EQ(key.field.take(*value, key.field.limits, object), "") << key.name;
        EXPECT_EQ(key.field.give(object, key.field.limits),
                  key.field.give(healthy, key.field.limits))
            << key.name;
    }
    return described;
}

TEST(FleetKeys, DefaultsAreThoseOfTheDocument) {
    using Names = std::set<std::string>;
    const Names ofTheCard = {"node", "pcie", "uuid"};
    EXPECT_EQ(ExpectDefaults(kCardKeys, DefaultCard(Generation::Er1x)), ofTheCard);
    Card older = DefaultCard(Generation::Ev1x);
    older.generation = Generation::Er1x;  // what the file says without the key
    EXPECT_EQ(ExpectDefaults(kCardKeys, older, true), ofTheCard);
    EXPECT_EQ(ExpectDefaults(kHostKeys, Fleet()), Names());
    EXPECT_EQ(ExpectDefaults(kFaultKeys, Fault()), (Names{"call", "status", "delay"}));
    EXPECT_EQ(ExpectDefaults(kMemoryFaultKeys, MemoryFault()), Names{"address"});
    EXPECT_EQ(ExpectDefaults(kAddressFaultKeys, AddressFault()), (Names{"line", "swapped_with"}));
    EXPECT_EQ(ExpectDefaults(kDmaFaultKeys, DmaFault()), Names{"to"});
    EXPECT_EQ(ExpectDefaults(kVpuFaultKeys, CoreFault()), Names{"operation"});
    EXPECT_EQ(ExpectDefaults(kCacheFaultKeys, CoreFault()), Names{"operation"});
}

TEST(FleetKeys, StandInTheirTablesOnce) {
    for (const FleetTable& table : FleetTables()) {
        const std::vector<std::string> names = NamesIn(table.name);
        const std::set<std::string> unique(names.begin(), names.end());
        EXPECT_EQ(unique.size(), names.size()) << table.name;
    }
    const std::vector<std::string> top = {"host", "fault", "card"};
    EXPECT_EQ(NamesIn(""), top);
    EXPECT_EQ(NamesIn("host"), std::vector<std::string>{"hosk_version"});
    const std::vector<std::string> ofTheCard = NamesIn("card");
    const std::vector<std::string> last(ofTheCard.end() - 7, ofTheCard.end());
    EXPECT_EQ(ofTheCard.size(), std::size(kCardKeys) + last.size());
    EXPECT_EQ(last, (std::vector<std::string>{"sbox", "fault", "memory_fault", "address_fault",
                                              "dma_fault", "vpu_fault", "cache_fault"}));
}

// A flag is spoilt as a byte, since no flag has the value.
template <typename Object, typename Value>
void Spoil(Object& object, Value Object::*member, U8 byte) {
    std::memset(static_cast<void*>(&(object.*member)), byte, sizeof(Value));
}

TEST(FleetKeys, KnowWhatIsNoValueOfTheirs) {
    EXPECT_EQ(DamageOf(kCardKeys, DefaultCard(Generation::Ev1x)), Damage::None);
    const auto damage = [](auto member, U8 byte) {
        CardFacts facts;
        Spoil(facts, member, byte);
        return DamageOf(kCardKeys, facts);
    };
    EXPECT_EQ(damage(&CardFacts::name, 'x'), Damage::NoEnd);
    EXPECT_EQ(damage(&CardFacts::flashVersion, 'x'), Damage::NoEnd);
    EXPECT_EQ(damage(&CardFacts::postCode, 'x'), Damage::NoEnd);
    EXPECT_EQ(damage(&CardFacts::memoryVendor, 'x'), Damage::NoEnd);
    EXPECT_EQ(damage(&CardFacts::memoryType, 'x'), Damage::NoEnd);
    EXPECT_EQ(damage(&CardFacts::memoryBytes, 0xFF), Damage::NoValue);
    EXPECT_EQ(damage(&CardFacts::modeChange, 0xFF), Damage::NoValue);
    EXPECT_EQ(damage(&CardFacts::node, 0xFF), Damage::NoValue);
    EXPECT_EQ(damage(&CardFacts::hangOnKill, 2), Damage::NoValue);
    EXPECT_EQ(damage(&CardFacts::generation, 2), Damage::NoValue);
    EXPECT_EQ(damage(&CardFacts::firstMode, 7), Damage::NoValue);
    EXPECT_EQ(damage(&CardFacts::ssh, 3), Damage::NoValue);
    EXPECT_EQ(damage(&CardFacts::cores, 0xFF), Damage::None);
    EXPECT_EQ(damage(&CardFacts::uuid, 0xFF), Damage::None);
    AddressFault line;
    Spoil(line, &AddressFault::swaps, 2);
    EXPECT_EQ(DamageOf(kAddressFaultKeys, line), Damage::NoValue);
    DmaFault end;
    Spoil(end, &DmaFault::toCard, 2);
    EXPECT_EQ(DamageOf(kDmaFaultKeys, end), Damage::NoValue);
}

}  // namespace
}  // namespace simulated
