// The catalogue of messages as mdoc(7), the language of the manual pages.
#pragma once

#include <string>

#include "catalogue/MessageRows.h"

// The items of a list that says where texts are shown.
std::string MdocKinds(const zelhealth::MessageBook& book);

// Each section with its rows.
std::string MdocSections(const zelhealth::MessageBook& book);

// Marked text as lines that are filled: a sentence begins a line. Throws std::runtime_error for what cannot be
// written so.
std::string MdocText(const std::string& marked);
