// Identifiers of the About box, for C++ and for resource scripts.
#ifndef KORVANE_CONTROLS_ABOUTIDS_H
#define KORVANE_CONTROLS_ABOUTIDS_H

// The dialog template that korvaneLib.dll brings along.
#define KORVANE_IDD_ABOUT 30100

// String resources of a host: the box's caption, and its rights notice of two lines (years, reservation) with a line
// feed between them. Without them the box shows the library's own strings of the same numbers.
#define KORVANE_IDS_ABOUT_CAPTION 30101
#define KORVANE_IDS_ABOUT_RIGHTS 30102

// The controls that a template for the box has besides IDOK: two statics, without text of their own, that cover the
// link and the rights notice.
#define KORVANE_IDC_ABOUT_LINK 30000
#define KORVANE_IDC_ABOUT_RIGHTS 30001

#endif
