// The error list: what stays visible, what is freed.
#include "TestEngine/memory/memoryErrorList.h"

#include <new>

#include "MemoryFixture.h"

namespace {

// Failure records are what is allocated without exceptions here.
bool refuseRecords = false;

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (refuseRecords)
        return nullptr;
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace {

class ErrorList : public MemoryFixture {
protected:
    ~ErrorList() override {
        refuseRecords = false;
        freeErrorList(&list);
    }
    void Add(const char* reason) { addError(&list, reason, 0x1234, 4, MemErrorTypeUnknown, 0x55); }

    _GddrDiagErrorList* list = nullptr;
};

TEST_F(ErrorList, FillsARecord) {
    addError(&list, "reason", 0x123456789A, 4, MemErrorTypeUnknown, 0x1122334455667788);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->next, nullptr);
    EXPECT_EQ(list->result, 0);
    EXPECT_EQ(list->phyAddr, 0x123456789AU);
    EXPECT_EQ(list->pattern, 0x1122334455667788U);
    EXPECT_EQ(list->channelId, 0xFFFFU);
    EXPECT_EQ(list->dataWidth, 4);
    EXPECT_EQ(list->bitError, 0);
    EXPECT_EQ(list->errType, MemErrorTypeUnknown);
    EXPECT_STREQ(list->reason, "reason");
}

TEST_F(ErrorList, TheHeadIsTheSecondToLast) {
    Add("1");
    EXPECT_EQ(Reasons(list), Texts{"1"});
    Add("2");
    EXPECT_EQ(Reasons(list), (Texts{"1", "2"}));
    Add("3");
    EXPECT_EQ(Reasons(list), (Texts{"2", "3"}));
    for (int i = 0; i < 1000; ++i)
        Add("more");
    Add("last");
    EXPECT_EQ(Reasons(list), (Texts{"more", "last"}));
}

TEST_F(ErrorList, FreeingEmptiesTheList) {
    freeErrorList(&list);
    EXPECT_EQ(list, nullptr);
    Add("1");
    Add("2");
    freeErrorList(&list);
    EXPECT_EQ(list, nullptr);
}

TEST_F(ErrorList, WithoutMemoryTheListStaysAndTheSummaryIsTold) {
    Add("1");
    refuseRecords = true;
    Add("2");
    EXPECT_EQ(Reasons(list), Texts{"1"});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Out of heap memory"});
}

TEST_F(ErrorList, PrintsEveryRecordInDetail) {
    addError(&list, "a reason", 0xABC, 8, MemErrorTypeRead, 0x5A5A);
    addError(&list, "", 0xDEF, 8, MemErrorTypeWrite, 0);
    printFailureDetail(list);
    EXPECT_EQ(
        fakes::Trace().TextsAt(DLVL_DIAG2),
        (Texts{"\n========= Memory Failure ========", "\nMemory Read Failed at Address:0xabc",
               "\nFailed memory ChannelId:65535", "\nFailed Bit:0", "\nFailed data pattern :0x5a5a",
               "\nFailed reason:a reason",
               "\n========= Memory Failure ========", "\nMemory Write Failed at Address:0xdef",
               "\nFailed memory ChannelId:65535", "\nFailed Bit:0", "\nFailed data pattern :0x0"}));
}

TEST_F(ErrorList, PrintsUnknownFailures) {
    Add("x");
    printFailureDetail(list);
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG2).at(1),
              "\nunknown Memory failure at Address:0x1234");
    fakes::Trace().Reset();
    printFailureDetail(nullptr);
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG2), Texts{});
}

}  // namespace
