// The base of the memory tests' tests: one open card in its ready state, the Memory group as the
// running group, and the summary of card 0.
#pragma once

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "Rows.h"
#include "SummaryErrors.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/memory/memory.h"
#include "TestEngine/memory/memoryErrorList.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_summary.h"
#include "ToolFixture.h"
#include "ZelAccess.h"

using Texts = std::vector<std::string>;

class MemoryFixture : public ToolFixture {
protected:
    static constexpr U64 kMiB = 0x100000;
    static constexpr U64 kChunk = 0x1000000;
    static constexpr U64 kGiB = U64{1} << 30;

    MemoryFixture() {
        memory_ResetOptions();
        Group().dbgLvl = k_DbgLvlFailed | k_DbgLvlPassed;
        curTstGroup = GroupIndex("-mem");
        OpenCard(fakes::Card());
        memory_TGInit(&Group());
        BeginSummary();
    }
    ~MemoryFixture() override {
        memory_TGClean(&Group());
        zelAccess->CloseAccessHandle();
    }

    static ifstTstGroup& Group() { return GroupRow("-mem"); }
    static GDDRDiagCb& Params() { return m_memoryCb.gddrDiagCb; }
    static fakes::Card& Card() { return fakes::ZelAccess().cards.at(0); }

    // Makes `card` the only card and opens it, in its ready state.
    static void OpenCard(fakes::Card card) {
        card.usageMode = ZEL_USAGE_MODE_OFFLINE;
        fakes::ZelAccess().cards.assign(1, card);
        zelAccess->CloseAccessHandle();
        ASSERT_TRUE(zelAccess->setAccessHandle());
        zelAccess->InitAdapterforDiag(0, false);
    }

    static void BeginSummary() {
        char program[] = "ZelDiag";
        char option[] = "-summary";
        char* words[] = {program, option, nullptr};
        int consumed = 0;
        TE::SUMMARY_INSTANCE = TE::TESummary();
        TE::SUMMARY_INSTANCE.ProcessGlobalOptions(2, words, &consumed);
        TE::SUMMARY_INSTANCE.SetZelNumberAndVersions(0, "flash", "smc");
        TE::SUMMARY_INSTANCE.SetGroupName("MemDiag");
        TE::SUMMARY_INSTANCE.SetTestName("Some");
    }

    // The error lines of the card so far, without their indent; begins the summary anew.
    static Texts TakeErrors() {
        Texts errors = SummaryErrors();
        BeginSummary();
        return errors;
    }

    // Runs `action` and keeps what it prints.
    template <typename Action>
    auto Printing(Action action) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const auto result = action();
        out = testing::internal::GetCapturedStdout();
        err = testing::internal::GetCapturedStderr();
        return result;
    }

    static Texts ErrorTraces() { return fakes::Trace().TextsAt(DLVL_ERROR); }

    // Calls of the platform so far that begin with `name`.
    static Texts Calls(const std::string& name) {
        Texts found;
        for (const std::string& call : fakes::ZelAccess().Calls()) {
            if (call.starts_with(name))
                found.push_back(call);
        }
        return found;
    }
    static bool TouchedMemory() {
        return !Calls("ZelReadMemPhysical").empty() || !Calls("ZelWriteMemPhysical").empty();
    }

    static Texts Reasons(const _GddrDiagErrorList* list) {
        Texts reasons;
        for (; list != nullptr; list = list->next)
            reasons.push_back(list->reason);
        return reasons;
    }

    std::string out;
    std::string err;
};
