// Identifiers of the resources of the tests of tooltip, scrolling dialogs and About box.
#ifndef KORVANE_TESTS_CONTROLS_SCROLL_IDS_H
#define KORVANE_TESTS_CONTROLS_SCROLL_IDS_H

#define IDD_SCROLL 201
#define IDD_SCROLL_DAMAGED 202
#define IDD_SCROLL_ABSENT 203
#define IDD_ABOUT_BARE 204
#define IDD_ABOUT_HOST 205 // of the second module only
#define IDD_SCROLL_WITHOUT_CONTROLS 206
#define IDD_SCROLL_ENDLESS 207
#define IDD_SCROLL_EMPTY 208

#define IDC_SCROLL_FIRST 1001
#define IDC_SCROLL_LAST 1002

#endif
