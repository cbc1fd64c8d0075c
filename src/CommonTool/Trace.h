// A trace call site: one static record that names file and line, printed by the debug-trace library.
// Two DMA workers may pass one site at once, hence the atomic store.
#pragma once

#include "PlyxDebug.h"

#define ZEL_TRACE(level, ...)                                          \
    do {                                                               \
        static PlyxDebugInfo site{0, 0, __FILE_NAME__, true, 0};       \
        __atomic_store_n(&site.m_lineNum, __LINE__, __ATOMIC_RELAXED); \
        plyxDbg->Print(site, level, __VA_ARGS__);                      \
    } while (false)
