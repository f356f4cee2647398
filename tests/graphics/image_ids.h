// Ids of the resources of the image tests, in the program and in its second module.
#define IDR_PHOTO 200
#define IDR_SMALL 201
#define IDR_TEXT 202
#define IDR_ABSENT 203
#define IDR_OTHER_PHOTO 204
