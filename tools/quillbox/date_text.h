// Element times as text. The library shows times in local time (TZ) and
// stores a date's fields as they are, as UTC; so the tool prints local
// time, and turns a local time given on the command line into UTC before
// handing it over, which makes a time set and printed back read the same.
#pragma once

#include <optional>
#include <string>

#include "tool_support.h"

namespace quillbox::tool {

// "YYYY-MM-DDTHH:MM:SS" (ISO 8601, local time, no zone); nothing for the
// date 0.0, which is how the library gives a time that was never set.
std::optional<std::string> DateText(DATE date);

// The same text for any date the platform can split into fields, 0.0
// (1899-12-30T00:00:00) included: a date value rather than an element time.
std::optional<std::string> DateValueText(DATE date);

// "YYYY-MM-DD", "YYYY-MM-DDTHH:MM" or "YYYY-MM-DDTHH:MM:SS" (a blank may
// stand for the T), local time, or UTC with a trailing "Z"; years
// 1601-9999. Gives the date to hand to Creation / LastModified put.
Status ParseDate(const std::string& text, DATE* date);

// The current time, as ParseDate would give it.
DATE Now();

}  // namespace quillbox::tool
