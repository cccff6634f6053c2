#pragma once

#include "report/model/run.hpp"
#include "report/model/verdict.hpp"

#include <string_view>

namespace report
{

/// The words that outputs use for the model's values.
std::string_view word(Operation operation); ///< The D-Bus member; empty for unknown.
std::string_view word(Activity activity);
std::string_view word(Outcome outcome);
std::string_view word(Structure structure);
std::string_view word(CategoryName category);       ///< The client's: "Normal Measurements", ...
std::string_view word(Availability::Answer answer); ///< cut is "error".
std::string_view word(Availability::Service service);
std::string_view word(Verdict verdict);

} // namespace report
