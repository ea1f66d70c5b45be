#pragma once

#include <oktplatform/oktexport.h>

/// The project name under which the prompts of this module are found: "OKTDATABASE".
extern "C" OKT_API wchar_t const *getModulePromptsProjectName();
