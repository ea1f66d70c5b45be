// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/finding.h>

#include <string>

namespace okt
{

// The words for findings: the only place where their sentences are made. No function here keeps anything; all may be called from
// any thread.

/// What a finding says, in one line without its file, place and severity: "the metrics factor is 0".
std::string sentenceOf(Finding const &finding);

/// "1 error, 0 warnings"; infos only where there are some.
std::string findingsText(Verdict const &verdict);

/// Id and name of an object, if it has them: "{...} "Depth"".
std::string labelText(ObjectLabel const &label);

} // namespace okt
