// Failures that the memory tests record.
#include "TestEngine/memory/memoryErrorList.h"

#include <new>

#include "CommonTool/Trace.h"
#include "TestEngine/te_summary.h"

namespace {

void DropHead(_GddrDiagErrorList** head) {
    _GddrDiagErrorList* const next = (*head)->next;
    delete *head;
    *head = next;
}

void PrintAddress(const _GddrDiagErrorList& error) {
    const unsigned long long address = error.phyAddr;
    switch (error.errType) {
        case MemErrorTypeRead:
            ZEL_TRACE(DLVL_DIAG2, "\nMemory Read Failed at Address:0x%llx", address);
            return;
        case MemErrorTypeWrite:
            ZEL_TRACE(DLVL_DIAG2, "\nMemory Write Failed at Address:0x%llx", address);
            return;
        default:
            ZEL_TRACE(DLVL_DIAG2, "\nunknown Memory failure at Address:0x%llx", address);
    }
}

}  // namespace

void addError(_GddrDiagErrorList** head, const char* reason, unsigned long phyAddr,
              unsigned int dataWidth, ErrType type, unsigned long pattern) {
    auto* const error =
        new (std::nothrow) _GddrDiagErrorList{.next = nullptr,
                                              .result = 0,
                                              .phyAddr = phyAddr,
                                              .pattern = pattern,
                                              .channelId = k_UnknownChannel,
                                              .dataWidth = static_cast<U8>(dataWidth),
                                              .bitError = 0,
                                              .errType = type,
                                              .reason = reason};
    if (error == nullptr) {
        TE::SUMMARY_INSTANCE.LogError("Out of heap memory");
        return;
    }
    if (*head == nullptr) {
        *head = error;
        return;
    }
    while ((*head)->next != nullptr)
        DropHead(head);
    (*head)->next = error;
}

void freeErrorList(_GddrDiagErrorList** head) {
    while (*head != nullptr)
        DropHead(head);
}

void printFailureDetail(const _GddrDiagErrorList* list) {
    for (const _GddrDiagErrorList* error = list; error != nullptr; error = error->next) {
        ZEL_TRACE(DLVL_DIAG2, "\n========= Memory Failure ========");
        PrintAddress(*error);
        ZEL_TRACE(DLVL_DIAG2, "\nFailed memory ChannelId:%d", static_cast<int>(error->channelId));
        ZEL_TRACE(DLVL_DIAG2, "\nFailed Bit:%d", error->bitError);
        ZEL_TRACE(DLVL_DIAG2, "\nFailed data pattern :0x%llx",
                  static_cast<unsigned long long>(error->pattern));
        if (error->reason != nullptr && error->reason[0] != '\0')
            ZEL_TRACE(DLVL_DIAG2, "\nFailed reason:%s", error->reason);
    }
}
