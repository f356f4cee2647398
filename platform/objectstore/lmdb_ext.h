/* lmdb_ext.h - what engine.cpp needs of LMDB beyond its interface: which pages may be reused, a map that grows under a
 * transaction, volumes that are checked before they are trusted. Implemented in lmdb.c, inside LMDB's own source.
 *
 * A "page map" is an array of bits, one a page. All results are LMDB's codes (0, MDB_..., or a Win32 code).
 */
#ifndef KORVANESTORE_LMDB_EXT_H
#define KORVANESTORE_LMDB_EXT_H

#include <lmdb.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum
{
    KV_PAGE_BYTES = 4096,
    KV_RESERVED_PAGES = 4,  /* LMDB's two meta pages and the volume's two headers */
    KV_MAX_PAGES = 1 << 18, /* 1 GiB: what a 32-bit process can map beside itself */
    KV_PAGE_MAP_BYTES = KV_MAX_PAGES / 8,
    KV_STATE_BYTES = 64
};

/* A committed state: what a meta page says. Plain data, kept in the volume header. */
typedef struct kv_state
{
    uint32_t last_page;
    uint32_t txnid;
    uint8_t trees[56]; /* MDB_db of the free list and of the map */
} kv_state;

/* The engine's word on pages, attached to the environment (mdb_env_set_userctx) for as long as it is open. */
typedef struct kv_pages
{
    void* file;                     /* the volume's, open for reading and writing; its opener closes it */
    const uint8_t* free_in_flushed; /* page map: was free in the last flushed state */
    uint32_t flushed_last_page;     /* the last flushed state's last page */
    int pin;                        /* pages of the flushed state that a transaction frees are held, not listed */
    int reuse_forbidden;            /* pages come from the end of the file only */
    uint8_t* use;                   /* a byte a page, this process's knowledge: see lmdb.c */
    uint32_t* held;                 /* pages that the transaction has put aside so far */
    uint32_t held_count, held_room;
    uint32_t lost_metas[2][32]; /* what the meta pages said when the map was lost */
} kv_pages;

static inline int kv_bit(const uint8_t* map, uint32_t page)
{
    return map[page >> 3] >> (page & 7) & 1;
}
static inline void kv_set_bit(uint8_t* map, uint32_t page)
{
    map[page >> 3] |= (uint8_t)(1 << (page & 7));
}

/* The first two pages of a file in this state. Both metas lead to it, the one that it was committed to the newer. */
void kv_build_metas(const kv_state* state, uint32_t file_bytes, uint8_t pages[2 * KV_PAGE_BYTES]);
/* A new, empty state. */
void kv_empty_state(kv_state* state);
/* The newer state of two meta pages as they lie in a file; MDB_INVALID when they make no sense in a file of that size. */
int kv_read_metas(const uint8_t pages[2 * KV_PAGE_BYTES], uint32_t file_bytes, kv_state* state);
/* Whether a state can be one of a file of that size. */
int kv_state_is_sound(const kv_state* state, uint32_t file_bytes);

/* The state that was committed last, and its number alone (a read of memory). */
void kv_committed(MDB_env* env, kv_state* state);
uint32_t kv_committed_txnid(MDB_env* env);
/* Whether that state reaches beyond the present map: another process has let the file grow. */
int kv_map_is_short(MDB_env* env);

/* Maps the file anew with so many bytes, or leaves the map as it was. A write transaction may be open, cursors on it and
 * read transactions not. When there is no room for a large map even in its old place, the map is lost: until a later
 * try, which kv_map_is_short asks for, nothing may be read, and an open transaction can only be aborted. */
int kv_remap(MDB_env* env, uint32_t bytes);
int kv_map_is_lost(MDB_env* env);
/* Pages that the transaction can still take from the end of the map. */
uint32_t kv_pages_left(MDB_txn* txn);

/* Waits until all of the file is on the disk. A Win32 code. */
int kv_sync(MDB_env* env);
/* While it is on, transactions take no page that the free list offers. */
void kv_forbid_reuse(MDB_env* env, int forbidden);

/* Gives pages that were held to a transaction's free list. */
int kv_free_held(MDB_txn* txn, const uint8_t* held);
/* Sets the bits of all listed free pages and checks the list: MDB_CORRUPTED for a list that contradicts itself. */
int kv_list_free(MDB_txn* txn, uint8_t* free_map);
/* Sets the bits of all pages that the two trees use. MDB_CORRUPTED, and the page's number in *page, for one that is used
 * twice, lies outside, or makes no sense, or whose keys are not in order or belong elsewhere. */
int kv_list_used(MDB_txn* txn, uint8_t* used_map, uint32_t* page);

/* Steps a cursor that stands on an entry of the main tree to the next one of the same page, which is what most steps
 * are. 0: it has to be done by MDB_NEXT; nothing has moved then. */
int kv_next_in_page(MDB_cursor* cursor, MDB_val* key, MDB_val* value);

/* mdb_put with a cursor of a write transaction, which remembers the place: a key that belongs soon behind the one put last
 * is put without a search. Behind any other change of the tree the place is to be forgotten. */
int kv_put(MDB_cursor* cursor, MDB_val* key, MDB_val* value, unsigned flags);
void kv_forget_place(MDB_cursor* cursor);
/* Leaf and branch pages of the main tree. */
uint32_t kv_tree_pages(MDB_txn* txn);

/* The key of the entry so many places behind the one that a cursor stands on, in the same page. 0: there is none. */
int kv_peek_in_page(MDB_cursor* cursor, unsigned ahead, MDB_val* key);

/* How keys compare: as bytes, the shorter first. */
int kv_compare_keys(const MDB_val* left, const MDB_val* right);

/* ---- Records by their number: keys of these many bytes, whose last four are the number, high byte first ---- */

enum
{
    KV_RECORD_KEY_BYTES = 9
};
/* The leaf page that has the record if there is one; good as long as the transaction's snapshot. Null: not to be had like
 * this, because the tree is empty or damaged. */
const void* kv_record_leaf(MDB_txn* txn, const uint8_t key[KV_RECORD_KEY_BYTES]);
/* The record in its leaf. 0: not there, or in pages of its own. */
int kv_record_in_leaf(const void* leaf, const uint8_t key[KV_RECORD_KEY_BYTES], MDB_val* value);
/* Have the processor fetch what a search in a leaf looks at first, and then the record. Neither waits for memory if the
 * first was called some time before the second. */
void kv_fetch_leaf(const void* leaf);
void kv_fetch_record(const void* leaf, const uint8_t key[KV_RECORD_KEY_BYTES]);

/* ---- Pages as they lie in a file, without an environment ---- */

typedef struct kv_tree
{
    uint32_t root; /* KV_NO_PAGE: the tree is empty */
    uint32_t depth;
    uint32_t entries;
} kv_tree;

typedef struct kv_entry
{
    const uint8_t* key;
    const uint8_t* value; /* null in a branch page, and for a value in large pages */
    uint32_t key_bytes, value_bytes;
    uint32_t page; /* a branch page's child, or the first of the large pages */
} kv_entry;

enum
{
    KV_FREE_TREE,
    KV_MAP_TREE
};
enum
{
    KV_PAGE_BAD,
    KV_PAGE_BRANCH,
    KV_PAGE_LEAF,
    KV_PAGE_LARGE
};
#define KV_NO_PAGE 0xFFFFFFFFu

kv_tree kv_tree_of(const kv_state* state, int which);
/* The state of one of the two meta pages (number 0 or 1). MDB_INVALID when it makes no sense; the file's size is not
 * looked at. */
int kv_read_meta(const uint8_t page[KV_PAGE_BYTES], uint32_t number, kv_state* state);
/* What a page is; bad when it contradicts itself, is not the one of that number, or refers to pages from `end` on. */
int kv_page_kind(const uint8_t page[KV_PAGE_BYTES], uint32_t number, uint32_t end);
/* The entries of a branch or leaf page that is sound. */
uint32_t kv_entry_count(const uint8_t page[KV_PAGE_BYTES]);
kv_entry kv_entry_at(const uint8_t page[KV_PAGE_BYTES], uint32_t index);
/* Of a large value: how many pages one of so many bytes takes, how many the first page says there are, and where in
 * the first page it begins. */
uint32_t kv_large_pages(uint32_t value_bytes);
uint32_t kv_large_page_count(const uint8_t page[KV_PAGE_BYTES]);
uint32_t kv_large_offset(void);

#ifdef __cplusplus
}
#endif

#endif
