// Ids of the string resources of the framework's test program and of its second module.
#define IDS_PLAIN 100
#define IDS_FORMAT 101
#define IDS_MESSAGE 102
#define IDS_LONG 103
#define IDS_TIME_FORMAT 104
#define IDS_SPAN_FORMAT 105
#define IDS_LAST_OF_BLOCK 111
#define IDS_FIRST_OF_BLOCK 112
#define IDS_ABSENT 115
#define IDS_ONLY_EXTRA 5000
#define IDB_CORNERS 300
#define IDB_ABSENT 301
