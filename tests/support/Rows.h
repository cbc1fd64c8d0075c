// Rows of the tool's tables by the names that an operator types, so that no test depends on their order.
#pragma once

#include <string_view>

#include "TestEngine/te_main_records.h"

// The group of this short name, such as "-smc". Ends the program with a line when there is none.
ifstTstGroup& GroupRow(std::string_view shortName);

// Index of the group in the table, which is its place in the run's order.
U32 GroupIndex(std::string_view shortName);

// The test of this short name, such as "-fwv", and its index in its group.
ifstTstCb& TestRow(std::string_view group, std::string_view shortName);
U16 TestIndex(std::string_view group, std::string_view shortName);
