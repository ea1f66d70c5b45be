#include <oktdatabase/oktmodule.h>

wchar_t const *getModulePromptsProjectName() { return L"OKTDATABASE"; }
