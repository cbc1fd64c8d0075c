// Failures that the memory tests record. The records of a list belong to its head; their reasons are
// constant texts. However many failures are added, at most two records exist at a time.
#pragma once

#include "ZelTypes.h"

enum ErrType : U32 { MemErrorTypeRead = 1, MemErrorTypeWrite = 2, MemErrorTypeUnknown = 3 };

inline constexpr U64 k_UnknownChannel = 0xFFFF;

struct _GddrDiagErrorList {
    _GddrDiagErrorList* next;
    U8 result;
    U64 phyAddr;
    U64 pattern;  // that was expected
    U64 channelId;
    U8 dataWidth;  // bytes an access
    I32 bitError;
    ErrType errType;
    const char* reason;
};

static_assert(sizeof(_GddrDiagErrorList) == 64);

// Appends a failure. The former last record becomes the head and those before it are freed: the head
// is the second-to-last failure once there are two. Without memory nothing is added, and the run
// summary is told.
void addError(_GddrDiagErrorList** head, const char* reason, unsigned long phyAddr,
              unsigned int dataWidth, ErrType type, unsigned long pattern);

// Frees every record; the list is empty afterwards.
void freeErrorList(_GddrDiagErrorList** head);

// Traces every record of the list in detail.
void printFailureDetail(const _GddrDiagErrorList* list);
