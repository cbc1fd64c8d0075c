// The table of test groups. Row order is the order in which a card runs them.
#pragma once

#include "TestEngine/te_main_records.h"

inline constexpr U32 IFST_NUM_TESTGROUPS = 5;

extern ifstTstGroup ifstTstGrps[IFST_NUM_TESTGROUPS];
extern const U32 ifstNumTstGroups;
