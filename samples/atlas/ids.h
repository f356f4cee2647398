// Identifiers of Atlas's resources.
#ifndef KORVANE_SAMPLES_ATLAS_IDS_H
#define KORVANE_SAMPLES_ATLAS_IDS_H

#ifndef IDC_STATIC
#define IDC_STATIC (-1)
#endif

#define IDI_ATLAS 1
#define IDR_ABOUT 2 // a picture; the flags' names are the countries' codes

#define IDD_ATLAS 101
#define IDD_DETAILS 102
#define IDD_FILE 103

#define IDC_COUNTRY 1001
#define IDC_STAR 1002
#define IDC_FLAG 1003
#define IDC_NAME 1004
#define IDC_CODES 1005
#define IDC_LANGUAGES 1006
#define IDC_CURRENCY 1007
#define IDC_DIVISIONS 1008
#define IDC_SUM 1009
#define IDC_SUM_CODE 1010
#define IDC_LINK 1011
#define IDC_DETAILS 1012
#define IDC_MENU 1013
#define IDC_TIP 1014
#define IDC_LINE 1015
#define IDC_LANGUAGES_LABEL 1016
#define IDC_CURRENCY_LABEL 1017
#define IDC_DIVISIONS_LABEL 1018
#define IDC_SUM_LABEL 1019
#define IDC_BAR 1020

#define IDC_PATH 1101

// The commands of the menu, and the string resources with their texts; the favourites come from IDM_FAVOURITE on.
#define IDM_EXPORT 2001
#define IDM_IMPORT 2002
#define IDM_ABOUT 2003
#define IDM_FAVOURITE 2100

// Sentences for people: what failed, on what, what to do. %1 is what it was on.
#define IDS_VOLUME_MISSING 3001
#define IDS_VOLUME_LOCKED 3002
#define IDS_VOLUME_DAMAGED 3003
#define IDS_VOLUME_OTHER 3004
#define IDS_READ_FAILED 3005
#define IDS_WRITE_FAILED 3006
#define IDS_EXPORT_FAILED 3007
#define IDS_IMPORT_UNREADABLE 3008
#define IDS_IMPORT_REFUSED 3009
#define IDS_IMPORT_STRANGE 3010
#define IDS_SETTINGS_FAILED 3011
#define IDS_NO_WINDOW 3012

#define IDS_EXPORTED 3101
#define IDS_IMPORTED 3102

#define IDS_TIP_ADD 3201
#define IDS_TIP_REMOVE 3202
#define IDS_LINK 3203
#define IDS_URL 3204
#define IDS_NONE 3205
#define IDS_OFFICIAL 3206
#define IDS_REGIONAL 3207
#define IDS_DE_FACTO 3208
#define IDS_EXPORT_CAPTION 3209
#define IDS_IMPORT_CAPTION 3210
#define IDS_ABOUT_URL 3211

#endif
