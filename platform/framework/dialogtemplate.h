// dialogtemplate.h - dialog templates: found in the modules, and looked at before the system reads them.
#ifndef KORVANEAFX_DIALOGTEMPLATE_H
#define KORVANEAFX_DIALOGTEMPLATE_H

#include "afx.h"

// FALSE if the template, plain or extended, does not lie within its cbTemplate bytes: the system reads what is there
// without an end.
BOOL IsDialogTemplateSound(const void* pTemplate, DWORD cbTemplate);
// The template of a resource and, in *phInstance, its module. NULL if there is none or it is damaged.
LPCDLGTEMPLATE LoadDialogTemplate(LPCTSTR pszName, HINSTANCE* phInstance);

#endif
