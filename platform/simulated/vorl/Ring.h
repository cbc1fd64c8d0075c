// First-in-first-out queues of fixed capacity. Nothing is allocated after construction, so that the
// service threads of a connection cannot run out of memory. Not locked.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace vorl {

template <typename Item, size_t kCapacity>
class Ring {
public:
    bool Empty() const { return count_ == 0; }
    bool Full() const { return count_ == kCapacity; }
    size_t Size() const { return count_; }

    // The item at `index` from the front; `index` is below Size().
    Item& At(size_t index) { return items_[(first_ + index) % kCapacity]; }
    Item& Front() { return At(0); }

    // Only while not Full().
    void Push(Item item) { items_[(first_ + count_++) % kCapacity] = std::move(item); }

    // Only while not Empty().
    Item Pop() {
        Item item = std::exchange(items_[first_], Item{});
        first_ = (first_ + 1) % kCapacity;
        --count_;
        return item;
    }

private:
    std::array<Item, kCapacity> items_{};
    size_t first_ = 0;
    size_t count_ = 0;
};

class ByteRing {
public:
    explicit ByteRing(size_t capacity) : bytes_(capacity) {}

    size_t Size() const { return count_; }
    size_t Room() const { return bytes_.size() - count_; }

    // Takes all of `bytes`; only while there is room for them.
    void Push(std::span<const std::byte> bytes) {
        const size_t end = (first_ + count_) % bytes_.size();
        const size_t atEnd = std::min(bytes.size(), bytes_.size() - end);
        std::copy_n(bytes.begin(), atEnd, bytes_.begin() + static_cast<std::ptrdiff_t>(end));
        std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(atEnd), bytes.end(), bytes_.begin());
        count_ += bytes.size();
    }

    // Gives up to `bytes.size()` bytes and says how many.
    size_t Pop(std::span<std::byte> bytes) {
        const size_t taken = std::min(bytes.size(), count_);
        const size_t atEnd = std::min(taken, bytes_.size() - first_);
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(first_), atEnd, bytes.begin());
        std::copy_n(bytes_.begin(), taken - atEnd,
                    bytes.begin() + static_cast<std::ptrdiff_t>(atEnd));
        first_ = (first_ + taken) % bytes_.size();
        count_ -= taken;
        return taken;
    }

private:
    std::vector<std::byte> bytes_;
    size_t first_ = 0;
    size_t count_ = 0;
};

}  // namespace vorl
