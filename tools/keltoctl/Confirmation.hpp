#pragma once

#include <string>

namespace kelto::ctl {

/// Asks the person at the terminal a question that is answered with yes or no; `isGranted` answers
/// it beforehand. Throws WrongUsage when nobody can be asked, and Refusal, "nothing was changed",
/// when the answer is no.
void confirm(const std::string& question, bool isGranted);

}  // namespace kelto::ctl
