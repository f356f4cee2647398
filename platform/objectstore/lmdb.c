/* LMDB, compiled with what korvanestore needs inside it. cmake/LmdbSource.cmake puts calls of the static functions
 * declared here into its source; the rest serves engine.cpp through lmdb_ext.h.
 *
 * Why it is not enough to use LMDB as it is:
 *  - With a writable map and no synchronous writes a commit is a store into memory, but then the system may write pages
 *    to the disk in any order, and after a power cut nothing can be trusted. So the pages of the last flushed state are
 *    never written to until the next flush is complete: a page of it that a transaction frees is put aside
 *    (kv_hold_pages) and listed as free only by the next flush.
 *  - A map cannot grow while LMDB has a transaction; a batch must (kv_remap).
 *  - All tables lie in one tree, so new records go to the end of their table, but into the middle of a page that the
 *    next table begins on. LMDB splits such a page in halves, and no page would ever be more than half full
 *    (kv_split_point).
 *  - LMDB believes what it reads. A volume may come from a stranger: each page is checked when this process first meets
 *    it (kv_page_is_sound), and again when it was given to a large value (kv_page_taken); and whenever it is reached it
 *    must be of the kind that is wanted there (kv_tree_page, kv_large_page), and a walk must get on (kv_next_page).
 *  - The volume has its file open already, and has looked at it. LMDB gets that handle (kv_take_file) instead of opening
 *    the file once more, which would take longer than all that it does itself.
 */
#include "lmdb_ext.h"

#include <windows.h>

static int kv_take_file(MDB_env* env);
static int kv_read_file(MDB_env* env, DWORD offset, void* p, DWORD bytes, DWORD* read);
static int kv_hold_pages(MDB_txn* txn);
static int kv_reuse_forbidden(MDB_env* env);
static void kv_page_taken(MDB_env* env, size_t page, int count);
static int kv_page_is_sound(MDB_env* env, const void* page, size_t number, size_t end);
static int kv_tree_page(MDB_cursor* cursor, const void* page, unsigned level, unsigned depth);
static int kv_next_page(MDB_cursor* cursor);
static int kv_large_page(MDB_cursor* cursor, const void* page, size_t bytes);
static void kv_fetch_nodes(const void* page, int low, int high, unsigned count);
static int kv_place_ahead(MDB_cursor* cursor, const MDB_val* key);
static int kv_split_point(const void* page, const MDB_val* key, size_t node_bytes, int place, int proposed,
                          size_t room);

#include <mdb_prepared.c>
#include <midl.c>

_Static_assert(sizeof(pgno_t) == 4 && sizeof(MDB_db) == 28, "the layout of a 32-bit build");
_Static_assert(sizeof(MDB_meta) <= sizeof(((kv_pages*)0)->lost_metas[0]), "a copy of a meta page's content");
_Static_assert(sizeof(kv_state) == KV_STATE_BYTES, "part of the volume format");

/* msvcrt's memcmp costs more than a short comparison itself, so words are compared here. */
int kv_compare_keys(const MDB_val* left, const MDB_val* right)
{
    const uint8_t *l = left->mv_data, *r = right->mv_data;
    size_t bytes = left->mv_size < right->mv_size ? left->mv_size : right->mv_size;
    for (; bytes >= 4; l += 4, r += 4, bytes -= 4) {
        uint32_t left_word, right_word;
        memcpy(&left_word, l, 4);
        memcpy(&right_word, r, 4);
        if (left_word != right_word) return __builtin_bswap32(left_word) < __builtin_bswap32(right_word) ? -1 : 1;
    }
    for (; bytes; l++, r++, bytes--) {
        if (*l != *r) return *l < *r ? -1 : 1;
    }
    return left->mv_size < right->mv_size ? -1 : left->mv_size > right->mv_size;
}

/* ---- What is looked at next ------------------------------------------------------------------------------------ */

enum
{
    LINE = 64
}; /* bytes of memory that the processor fetches at once */

/* Has the processor fetch a line. GCC does not see an effect in that, finds functions that do nothing else to be without
 * any, and drops the calls to them; the empty statement is one that it keeps. */
static inline void fetch_line(const void* p)
{
    __builtin_prefetch(p);
    __asm__ volatile("");
}

/* A search looks at a node in the middle of low..high. In a large volume each is a wait for memory, and the next one is
 * known only after it: so the nodes of the first three steps are fetched together, and those of the last three. */
static void kv_fetch_nodes(const void* page, int low, int high, unsigned count)
{
    const MDB_page* const p = page;
    const int nodes = high - low + 1;
    int i;
    if (nodes >= 4 && nodes <= 8) {
        for (i = low; i <= high; i++) fetch_line(NODEPTR(p, i));
    } else if (nodes > 8 && (unsigned)nodes + 1 >= count) {
        for (i = 1; i < 8; i++) fetch_line(NODEPTR(p, low + nodes * i / 8));
    }
}

/* ---- Where a page is split ------------------------------------------------------------------------------------- */

/* The part of a key that names the table, or one of its orders, that the entry belongs to: keys.h. */
static int in_same_run(const void* left, size_t left_bytes, const void* right, size_t right_bytes)
{
    const unsigned char *l = left, *r = right;
    const size_t prefix = left_bytes && l[0] == 0x20 ? 6 : 5; /* of index entries */
    return left_bytes >= prefix && right_bytes >= prefix && memcmp(l, r, prefix) == 0;
}

/* What to split a full page at, counted with the new entry at its place. When that is the last one of its run, what
 * follows goes to a page of its own, with the new entry only if the run itself fills the page: a run whose entries come
 * in order then ends a page and leaves full ones behind. Else where LMDB proposes to. node_bytes: what the new entry
 * takes; room: of an empty page. */
static int kv_split_point(const void* page, const MDB_val* key, size_t node_bytes, int place, int proposed, size_t room)
{
    MDB_page* p = (MDB_page*)page;
    const int count = NUMKEYS(p);
    if (!IS_LEAF(p) || place == 0 || place >= count) return proposed;
    const MDB_node* before = NODEPTR(p, place - 1);
    const MDB_node* after = NODEPTR(p, place);
    if (!in_same_run(key->mv_data, key->mv_size, NODEKEY(before), NODEKSZ(before)) ||
        in_same_run(key->mv_data, key->mv_size, NODEKEY(after), NODEKSZ(after)))
        return proposed;
    size_t left = 0, right = 0;
    for (int i = 0; i < count; i++) {
        const MDB_node* node = NODEPTR(p, i);
        const size_t data = F_ISSET(node->mn_flags, F_BIGDATA) ? sizeof(pgno_t) : NODEDSZ(node);
        *(i < place ? &left : &right) += EVEN(NODESIZE + NODEKSZ(node) + data) + sizeof(indx_t);
    }
    if (left + node_bytes <= room) return place + 1;
    return right + node_bytes <= room ? place : proposed;
}

/* ---- Where a key goes that comes behind the last one ------------------------------------------------------------ */

static int compare_with_key_of(const MDB_val* key, MDB_node* node)
{
    const MDB_val other = {NODEKSZ(node), NODEKEY(node)};
    return kv_compare_keys(key, &other);
}

/* Of a cursor that stands on the key that it put last: finds the place of a higher one if that is in the same leaf.
 * 0: the key may be there already, or belongs elsewhere; nothing has moved. */
static int kv_place_ahead(MDB_cursor* cursor, const MDB_val* key)
{
    MDB_page* page;
    unsigned count, low, high, step, level;
    if ((cursor->mc_flags & (C_INITIALIZED | C_EOF | C_DEL)) != C_INITIALIZED || cursor->mc_dbi != MAIN_DBI) return 0;
    page = cursor->mc_pg[cursor->mc_top];
    count = NUMKEYS(page);
    low = cursor->mc_ki[cursor->mc_top];
    if (!IS_LEAF(page) || low >= count || compare_with_key_of(key, NODEPTR(page, low)) <= 0) return 0;
    /* The key is above the one at `low`, and not above the one at `high` if there is one. */
    high = count;
    for (step = 1; low + step < high; step *= 2) {
        if (compare_with_key_of(key, NODEPTR(page, low + step)) <= 0)
            high = low + step;
        else
            low += step;
    }
    while (high - low > 1) {
        const unsigned middle = (low + high) / 2;
        if (compare_with_key_of(key, NODEPTR(page, middle)) <= 0)
            high = middle;
        else
            low = middle;
    }
    if (high < count) {
        if (compare_with_key_of(key, NODEPTR(page, high)) == 0) return 0;
    } else {
        /* Behind the leaf's last key; what the next leaf begins with is known to a page above. */
        for (level = cursor->mc_top; level-- > 0;) {
            MDB_page* const above = cursor->mc_pg[level];
            const unsigned next = cursor->mc_ki[level] + 1u;
            if (next >= NUMKEYS(above)) continue;
            if (compare_with_key_of(key, NODEPTR(above, next)) >= 0) return 0;
            break;
        }
    }
    cursor->mc_ki[cursor->mc_top] = (indx_t)high;
    return 1;
}

int kv_put(MDB_cursor* cursor, MDB_val* key, MDB_val* value, unsigned flags)
{
    const MDB_db* const db = cursor->mc_db;
    const pgno_t pages = db->md_leaf_pages + db->md_branch_pages;
    const int rc = mdb_cursor_put(cursor, key, value, flags);
    /* Where a page was split the cursor is not relied upon. */
    if (rc || pages != db->md_leaf_pages + db->md_branch_pages) kv_forget_place(cursor);
    return rc;
}

void kv_forget_place(MDB_cursor* cursor)
{
    cursor->mc_flags &= ~(unsigned)(C_INITIALIZED | C_EOF);
}

uint32_t kv_tree_pages(MDB_txn* txn)
{
    return txn->mt_dbs[MAIN_DBI].md_leaf_pages + txn->mt_dbs[MAIN_DBI].md_branch_pages;
}

/* ---- Which pages may be used again ---------------------------------------------------------------------------- */

/* Maps of this size and more may find no room for a second one beside them. */
enum
{
    LARGE_MAP_BYTES = 256 << 20
};

static kv_pages* pages_of(MDB_env* env)
{
    return (kv_pages*)env->me_userctx;
}

static int kv_take_file(MDB_env* env)
{
    env->me_fd = pages_of(env)->file;
    return MDB_SUCCESS;
}

/* At its start LMDB reads with an offset of its own, after which the system tells of the completion. Nobody waits for
 * that. */
static int kv_read_file(MDB_env* env, DWORD offset, void* p, DWORD bytes, DWORD* read)
{
    return SetFilePointer(env->me_fd, (LONG)offset, NULL, FILE_BEGIN) != INVALID_SET_FILE_POINTER &&
           ReadFile(env->me_fd, p, bytes, read, NULL);
}

static int kv_reuse_forbidden(MDB_env* env)
{
    const kv_pages* pages = pages_of(env);
    return pages && pages->reuse_forbidden;
}

/* Whether the last flushed state needs the page. */
static int in_flushed(const kv_pages* pages, pgno_t page)
{
    return page <= pages->flushed_last_page && !kv_bit(pages->free_in_flushed, page);
}

static int put_aside(kv_pages* pages, pgno_t page)
{
    if (pages->held_count == pages->held_room) {
        const uint32_t room = pages->held_room ? 2 * pages->held_room : 64;
        uint32_t* held = realloc(pages->held, room * sizeof *held);
        if (!held) return ENOMEM;
        pages->held = held;
        pages->held_room = room;
    }
    pages->held[pages->held_count++] = page;
    return 0;
}

/* Takes the flushed state's pages out of the list of pages that the transaction frees. Called each time that
 * mdb_freelist_save is about to look at that list, which saving it makes longer. */
static int kv_hold_pages(MDB_txn* txn)
{
    kv_pages* pages = pages_of(txn->mt_env);
    MDB_IDL list = txn->mt_free_pgs;
    MDB_ID i, kept = 0;
    if (!pages || !pages->pin) return MDB_SUCCESS;
    for (i = 1; i <= list[0]; i++) {
        if (!in_flushed(pages, list[i])) {
            list[++kept] = list[i];
        } else {
            const int rc = put_aside(pages, list[i]);
            if (rc) return rc;
        }
    }
    list[0] = kept;
    return MDB_SUCCESS;
}

int kv_free_held(MDB_txn* txn, const uint8_t* held)
{
    uint32_t page;
    for (page = KV_RESERVED_PAGES; page < txn->mt_next_pgno; page++) {
        if (!held[page >> 3]) {
            page |= 7;
        } else if (kv_bit(held, page)) {
            const int rc = mdb_midl_append(&txn->mt_free_pgs, page);
            if (rc) return rc;
        }
    }
    /* A transaction without a change of the map commits nothing, and these pages are none. */
    txn->mt_flags |= MDB_TXN_DIRTY;
    return 0;
}

/* ---- Pages are checked before they are trusted ---------------------------------------------------------------- */

/* kv_pages.use */
enum
{
    USE_UNKNOWN, /* this process has not met the page */
    USE_SOUND,   /* checked, or written by this process as a page */
    USE_TAKEN    /* of a run of pages that this process took for a large value: a caller's bytes, until it is checked */
};

static void kv_page_taken(MDB_env* env, size_t page, int count)
{
    kv_pages* pages = pages_of(env);
    /* A single page is given its header and entries before anybody can come by it. In a damaged volume a stale reference
     * may lead into the middle of a large value, which only a check can tell from a page. */
    if (pages) memset(pages->use + page, count == 1 ? USE_SOUND : USE_TAKEN, count);
}

/* The bytes that an entry takes of the room it has, 0 for one that makes no sense. */
static size_t sound_node_size(const MDB_page* p, const MDB_node* node, size_t room, size_t end)
{
    size_t size, bytes;
    if (room < NODESIZE || NODEKSZ(node) > MDB_MAXKEYSIZE) return 0;
    size = NODESIZE + NODEKSZ(node);
    if (IS_BRANCH(p)) {
        const size_t child = NODEPGNO(node);
        return size <= room && child >= KV_RESERVED_PAGES && child < end ? size : 0;
    }
    if (NODEKSZ(node) == 0 || (node->mn_flags & ~F_BIGDATA)) return 0;
    bytes = NODEDSZ(node);
    if (node->mn_flags & F_BIGDATA) {
        pgno_t first;
        size += sizeof first;
        if (size > room) return 0;
        memcpy(&first, NODEDATA(node), sizeof first);
        return first >= KV_RESERVED_PAGES && first < end && OVPAGES(bytes, KV_PAGE_BYTES) <= end - first ? size : 0;
    }
    return bytes <= room && size + bytes <= room ? size + bytes : 0;
}

/* Marks the 2-byte units of an entry, from the first to the last; 0 when another entry has one of them: taking one of two
 * overlapping entries out would move the wrong bytes. */
static int claim_units(uint64_t* claimed, size_t unit, size_t last)
{
    while (unit <= last) {
        const size_t bit = unit % 64, count = last - unit < 64 - bit ? last - unit + 1 : 64 - bit;
        const uint64_t mask = (count == 64 ? ~(uint64_t)0 : ((uint64_t)1 << count) - 1) << bit;
        if (claimed[unit / 64] & mask) return 0;
        claimed[unit / 64] |= mask;
        unit += count;
    }
    return 1;
}

static int page_is_sound(const MDB_page* p, size_t number, size_t end, int taken)
{
    const int in_transaction = taken ? P_DIRTY | P_LOOSE | P_KEEP : 0;
    const int flags = p->mp_flags & ~in_transaction;
    uint64_t claimed[KV_PAGE_BYTES / 2 / 64] = {0};
    unsigned keys, i;
    if (p->mp_pgno != number) return 0;
    if (flags == P_OVERFLOW) return p->mp_pages >= 1 && p->mp_pages <= end - number;
    if (flags != P_BRANCH && flags != P_LEAF) return 0;
    if (p->mp_lower < PAGEHDRSZ || p->mp_lower > p->mp_upper || p->mp_upper > KV_PAGE_BYTES ||
        ((p->mp_lower | p->mp_upper) & 1))
        return 0;
    keys = NUMKEYS(p);
    if (!taken && keys < (flags == P_BRANCH ? 2u : 1u)) return 0;
    for (i = 0; i < keys; i++) {
        const unsigned at = p->mp_ptrs[i];
        size_t size;
        if (at < p->mp_upper || at >= KV_PAGE_BYTES || (at & 1)) return 0;
        size = sound_node_size(p, NODEPTR(p, i), KV_PAGE_BYTES - at, end);
        if (!size || !claim_units(claimed, at / 2, (at + size - 1) / 2)) return 0;
    }
    return 1;
}

static int kv_page_is_sound(MDB_env* env, const void* page, size_t number, size_t end)
{
    kv_pages* pages = pages_of(env);
    fetch_line(page);
    fetch_line((const char*)page + LINE);
    fetch_line((const char*)page + 2 * LINE);
    if (!pages || pages->use[number] == USE_SOUND) return 1;
    if (number < KV_RESERVED_PAGES || !page_is_sound(page, number, end, pages->use[number] == USE_TAKEN)) return 0;
    pages->use[number] = USE_SOUND;
    return 1;
}

static int is_corrupted(MDB_cursor* cursor)
{
    cursor->mc_txn->mt_flags |= MDB_TXN_ERROR;
    return MDB_CORRUPTED;
}

/* The keys of the list of free pages are numbers, and compared as such whatever their size says. */
static int has_number_keys(const MDB_page* p)
{
    unsigned i;
    for (i = IS_LEAF(p) ? 0 : 1; i < NUMKEYS(p); i++) { /* a branch's first entry has no key */
        if (NODEKSZ(NODEPTR((MDB_page*)p, i)) != sizeof(txnid_t)) return 0;
    }
    return 1;
}

/* A page, itself sound, where the tree leads to it: at this level, the root's being 0. Taken for a page of another kind,
 * it would be read beyond its end. */
static int kv_tree_page(MDB_cursor* cursor, const void* page, unsigned level, unsigned depth)
{
    const MDB_page* p = page;
    if (!(level + 1 == depth ? IS_LEAF(p) : IS_BRANCH(p))) return is_corrupted(cursor);
    return cursor->mc_dbi != FREE_DBI || has_number_keys(p) ? 0 : is_corrupted(cursor);
}

/* Whether the key that a walk begins a page with lies between all the separating keys that lead there. So a walk meets no
 * page twice, and ends, where branches lead to the same pages over and over. */
static int kv_next_page(MDB_cursor* cursor)
{
    const MDB_page* const page = cursor->mc_pg[cursor->mc_top];
    MDB_val key, separator;
    unsigned level;
    if (NUMKEYS(page) == 0) return 0; /* only within a transaction */
    MDB_GET_KEY2(NODEPTR(page, 0), key);
    for (level = 0; level < cursor->mc_top; level++) {
        const MDB_page* const branch = cursor->mc_pg[level];
        const unsigned place = cursor->mc_ki[level];
        if (place > 0) { /* a branch's first entry has no key */
            MDB_GET_KEY2(NODEPTR(branch, place), separator);
            if (cursor->mc_dbx->md_cmp(&separator, &key) > 0) return is_corrupted(cursor);
        }
        if (place + 1 < NUMKEYS(branch)) {
            MDB_GET_KEY2(NODEPTR(branch, place + 1), separator);
            if (cursor->mc_dbx->md_cmp(&key, &separator) >= 0) return is_corrupted(cursor);
        }
    }
    return 0;
}

/* The first of the pages of a large value where an entry leads to it. */
static int kv_large_page(MDB_cursor* cursor, const void* page, size_t bytes)
{
    const MDB_page* p = page;
    return IS_OVERFLOW(p) && p->mp_pages >= OVPAGES(bytes, KV_PAGE_BYTES) ? 0 : is_corrupted(cursor);
}

/* ---- States and metas ----------------------------------------------------------------------------------------- */

static void state_of(const MDB_meta* meta, kv_state* state)
{
    state->last_page = meta->mm_last_pg;
    state->txnid = meta->mm_txnid;
    memcpy(state->trees, meta->mm_dbs, sizeof state->trees);
}

void kv_empty_state(kv_state* state)
{
    MDB_db trees[CORE_DBS];
    memset(trees, 0, sizeof trees);
    trees[FREE_DBI].md_pad = KV_PAGE_BYTES;
    trees[FREE_DBI].md_flags = MDB_INTEGERKEY;
    trees[FREE_DBI].md_root = P_INVALID;
    trees[MAIN_DBI].md_root = P_INVALID;
    state->last_page = KV_RESERVED_PAGES - 1;
    state->txnid = 1;
    memcpy(state->trees, trees, sizeof state->trees);
}

void kv_build_metas(const kv_state* state, uint32_t file_bytes, uint8_t pages[2 * KV_PAGE_BYTES])
{
    int i;
    memset(pages, 0, 2 * KV_PAGE_BYTES);
    for (i = 0; i < 2; i++) {
        MDB_page* page = (MDB_page*)(pages + i * KV_PAGE_BYTES);
        MDB_meta* meta = METADATA(page);
        page->mp_pgno = i;
        page->mp_flags = P_META;
        meta->mm_magic = MDB_MAGIC;
        meta->mm_version = MDB_DATA_VERSION;
        meta->mm_mapsize = file_bytes;
        memcpy(meta->mm_dbs, state->trees, sizeof state->trees);
        meta->mm_last_pg = state->last_page;
        meta->mm_txnid = (state->txnid & 1) == (unsigned)i ? state->txnid : state->txnid - 1;
    }
}

static int tree_is_sound(const MDB_db* tree, unsigned flags, uint32_t last_page)
{
    if (tree->md_flags != flags) return 0;
    if (tree->md_root == P_INVALID) return tree->md_depth == 0;
    return tree->md_root >= KV_RESERVED_PAGES && tree->md_root <= last_page && tree->md_depth >= 1 &&
           tree->md_depth < CURSOR_STACK;
}

int kv_state_is_sound(const kv_state* state, uint32_t file_bytes)
{
    MDB_db trees[CORE_DBS];
    memcpy(trees, state->trees, sizeof trees);
    return state->txnid >= 1 && state->last_page >= KV_RESERVED_PAGES - 1 &&
           state->last_page < file_bytes / KV_PAGE_BYTES && state->last_page < KV_MAX_PAGES &&
           trees[FREE_DBI].md_pad == KV_PAGE_BYTES &&
           tree_is_sound(&trees[FREE_DBI], MDB_INTEGERKEY, state->last_page) &&
           tree_is_sound(&trees[MAIN_DBI], 0, state->last_page);
}

int kv_read_metas(const uint8_t pages[2 * KV_PAGE_BYTES], uint32_t file_bytes, kv_state* state)
{
    const MDB_meta* metas[2];
    int i;
    for (i = 0; i < 2; i++) {
        const MDB_page* page = (const MDB_page*)(pages + i * KV_PAGE_BYTES);
        metas[i] = METADATA(page);
        if (page->mp_pgno != (pgno_t)i || page->mp_flags != P_META || metas[i]->mm_magic != MDB_MAGIC ||
            metas[i]->mm_version != MDB_DATA_VERSION || metas[i]->mm_psize != KV_PAGE_BYTES) {
            return MDB_INVALID; /* LMDB believes the page size of either */
        }
    }
    state_of(metas[metas[0]->mm_txnid < metas[1]->mm_txnid], state);
    return kv_state_is_sound(state, file_bytes) ? MDB_SUCCESS : MDB_INVALID;
}

void kv_committed(MDB_env* env, kv_state* state)
{
    state_of(mdb_env_pick_meta(env), state);
}

uint32_t kv_committed_txnid(MDB_env* env)
{
    const txnid_t first = env->me_metas[0]->mm_txnid, second = env->me_metas[1]->mm_txnid;
    return first < second ? second : first;
}

/* ---- Cursors -------------------------------------------------------------------------------------------------- */

/* The page that follows this one in the order of keys, if both hang from the same branch; else null. */
static const MDB_page* next_leaf(const MDB_cursor* cursor)
{
    const unsigned top = cursor->mc_top;
    const MDB_page* branch;
    unsigned i;
    if (top == 0) return NULL;
    branch = cursor->mc_pg[top - 1];
    i = cursor->mc_ki[top - 1] + 1u;
    if (i >= NUMKEYS(branch)) return NULL;
    return (const MDB_page*)(cursor->mc_txn->mt_env->me_map + (size_t)KV_PAGE_BYTES * NODEPGNO(NODEPTR(branch, i)));
}

/* Has the processor fetch the following page, two lines of it with each step: otherwise a walk would wait for memory at
 * each line. Entries lie from the page's end downwards. */
static void fetch_ahead(const MDB_cursor* cursor, unsigned step)
{
    enum
    {
        LINES = KV_PAGE_BYTES / LINE
    };
    const char* const next = (const char*)next_leaf(cursor);
    if (!next || step > LINES / 2) return;
    if (step == 1) {
        fetch_line(next);
        fetch_line(next + LINE);
    }
    fetch_line(next + KV_PAGE_BYTES - (2 * step - 1) * LINE);
    fetch_line(next + KV_PAGE_BYTES - 2 * step * LINE);
}

int kv_next_in_page(MDB_cursor* cursor, MDB_val* key, MDB_val* value)
{
    if ((cursor->mc_flags & (C_INITIALIZED | C_EOF | C_DEL)) != C_INITIALIZED) return 0;
    if (cursor->mc_txn->mt_flags & MDB_TXN_BLOCKED) return 0;
    MDB_page* page = cursor->mc_pg[cursor->mc_top];
    const unsigned next = cursor->mc_ki[cursor->mc_top] + 1u;
    if (next >= NUMKEYS(page)) return 0;
    MDB_node* node = NODEPTR(page, next);
    if (node->mn_flags) return 0; /* its value lies in pages of its own */
    cursor->mc_ki[cursor->mc_top] = (indx_t)next;
    fetch_ahead(cursor, next);
    key->mv_size = NODEKSZ(node);
    key->mv_data = NODEKEY(node);
    value->mv_size = NODEDSZ(node);
    value->mv_data = NODEDATA(node);
    return 1;
}

/* ---- Records by their number ----------------------------------------------------------------------------------- */

static uint32_t record_number(const uint8_t* key)
{
    uint32_t number;
    memcpy(&number, key + KV_RECORD_KEY_BYTES - 4, 4);
    return __builtin_bswap32(number);
}

/* Whether a node's key is that of a record of the same table. */
static int is_sibling(const MDB_node* node, const uint8_t* key)
{
    return NODEKSZ(node) == KV_RECORD_KEY_BYTES && memcmp(NODEKEY(node), key, KV_RECORD_KEY_BYTES - 4) == 0;
}

/* As the map orders keys; a record of the same table, which most are, by its number. */
static int compare_with_node(const uint8_t* key, uint32_t number, const MDB_node* node)
{
    MDB_val left, right;
    if (is_sibling(node, key)) {
        const uint32_t other = record_number(NODEKEY(node));
        return number < other ? -1 : number > other;
    }
    left.mv_data = (void*)key;
    left.mv_size = KV_RECORD_KEY_BYTES;
    right.mv_data = NODEKEY(node);
    right.mv_size = NODEKSZ(node);
    return kv_compare_keys(&left, &right);
}

/* The last node from `first` on whose key is not above the record's; first - 1 when there is none. Numbers are mostly
 * dense, so the place is guessed: a search that halves would touch five or six lines of memory, this one does two. */
static int last_not_above(const MDB_page* page, const uint8_t* key, int first)
{
    const uint32_t number = record_number(key);
    int low = first, high = (int)NUMKEYS(page) - 1, guess = (low + high) / 2;
    if (low < high) {
        const MDB_node *const bottom = NODEPTR(page, low), *const top = NODEPTR(page, high);
        if (is_sibling(bottom, key) && number >= record_number(NODEKEY(bottom))) {
            const uint32_t above = number - record_number(NODEKEY(bottom));
            guess = above < (uint32_t)(high - low) ? low + (int)above : high;
            if (IS_BRANCH(page) && is_sibling(top, key)) {
                const uint32_t span = record_number(NODEKEY(top)) - record_number(NODEKEY(bottom));
                if (span < 1u << 20 && above < span) guess = low + (int)(above * (uint32_t)(high - low) / span);
            }
        }
    }
    for (int tries = 0; low <= high; tries++) {
        const int middle = tries < 2 && guess >= low && guess <= high ? guess : (low + high) / 2;
        const int order = compare_with_node(key, number, NODEPTR(page, middle));
        if (order == 0) return middle;
        if (order > 0) {
            low = middle + 1;
            guess = low;
        } else {
            high = middle - 1;
            guess = high;
        }
    }
    return high;
}

const void* kv_record_leaf(MDB_txn* txn, const uint8_t key[KV_RECORD_KEY_BYTES])
{
    MDB_env* const env = txn->mt_env;
    pgno_t number = txn->mt_dbs[MAIN_DBI].md_root;
    unsigned depth;
    int place;
    if (txn->mt_flags & MDB_TXN_BLOCKED) return NULL;
    for (depth = txn->mt_dbs[MAIN_DBI].md_depth; depth && number < txn->mt_next_pgno; depth--) {
        const MDB_page* const page = (const MDB_page*)(env->me_map + (size_t)KV_PAGE_BYTES * number);
        if (!kv_page_is_sound(env, page, number, txn->mt_next_pgno)) return NULL;
        if (IS_LEAF(page)) return page;
        if (!IS_BRANCH(page)) return NULL;
        place = last_not_above(page, key, 1);
        if (place < 0) return NULL;
        number = NODEPGNO(NODEPTR(page, place));
    }
    return NULL;
}

int kv_record_in_leaf(const void* leaf, const uint8_t key[KV_RECORD_KEY_BYTES], MDB_val* value)
{
    const MDB_page* const page = leaf;
    const int place = last_not_above(page, key, 0);
    const MDB_node* node;
    if (place < 0) return 0;
    node = NODEPTR(page, place);
    if (node->mn_flags || NODEKSZ(node) != KV_RECORD_KEY_BYTES || memcmp(NODEKEY(node), key, KV_RECORD_KEY_BYTES) != 0)
        return 0;
    value->mv_data = NODEDATA(node);
    value->mv_size = NODEDSZ(node);
    return 1;
}

void kv_fetch_leaf(const void* leaf)
{
    fetch_line(leaf);
    fetch_line((const char*)leaf + LINE);
    fetch_line((const char*)leaf + KV_PAGE_BYTES - LINE); /* the lowest entry */
}

void kv_fetch_record(const void* leaf, const uint8_t key[KV_RECORD_KEY_BYTES])
{
    const MDB_page* const page = leaf;
    const MDB_node* const bottom = NODEPTR(page, 0);
    uint32_t above;
    if (!NUMKEYS(page) || !is_sibling(bottom, key)) return; /* a damaged volume can lead to a page without entries */
    above = record_number(key) - record_number(NODEKEY(bottom));
    if (above < NUMKEYS(page)) {
        const char* const node = (const char*)NODEPTR(page, above);
        fetch_line(node);
        fetch_line(node + LINE);
    }
}

int kv_peek_in_page(MDB_cursor* cursor, unsigned ahead, MDB_val* key)
{
    const MDB_page* page;
    unsigned place;
    if ((cursor->mc_flags & (C_INITIALIZED | C_EOF | C_DEL)) != C_INITIALIZED) return 0;
    page = cursor->mc_pg[cursor->mc_top];
    place = cursor->mc_ki[cursor->mc_top] + ahead;
    if (place >= NUMKEYS(page)) return 0;
    key->mv_size = NODEKSZ(NODEPTR(page, place));
    key->mv_data = NODEKEY(NODEPTR(page, place));
    return 1;
}

/* ---- The map -------------------------------------------------------------------------------------------------- */

int kv_map_is_short(MDB_env* env)
{
    return env->me_maxpg <= mdb_env_pick_meta(env)->mm_last_pg;
}

/* The transaction's pages lie in the file: only where they are seen has changed. */
static void move_pages(MDB_txn* txn, const char* old)
{
    char* const map = txn->mt_env->me_map;
    MDB_ID2L dirty = txn->mt_u.dirty_list;
    MDB_page** loose;
    MDB_ID i;
    for (i = 1; i <= dirty[0].mid; i++) dirty[i].mptr = map + ((char*)dirty[i].mptr - old);
    for (loose = &txn->mt_loose_pgs; *loose; loose = &NEXT_LOOSE_PAGE(*loose)) {
        *loose = (MDB_page*)(map + ((char*)*loose - old));
    }
}

static int map_bytes(MDB_env* env, size_t bytes)
{
    env->me_mapsize = bytes;
    return mdb_env_map(env, NULL);
}

int kv_remap(MDB_env* env, uint32_t bytes)
{
    kv_pages* pages = pages_of(env);
    char* const old = env->me_map;
    const size_t old_bytes = env->me_mapsize;
    int rc = map_bytes(env, bytes); /* beside the old one, which stays if this fails */
    if (rc && bytes < LARGE_MAP_BYTES) {
        env->me_map = old;
        env->me_mapsize = old_bytes;
        return rc;
    }
    if (old) {
        int i;
        for (i = 0; i < NUM_METAS; i++) memcpy(pages->lost_metas[i], env->me_metas[i], sizeof(MDB_meta));
        munmap(old, old_bytes);
    }
    if (rc) {
        /* A large one has no room beside itself, but perhaps in its place, or at least the old one has. */
        const int old_again = (rc = map_bytes(env, bytes)) && old && !map_bytes(env, old_bytes);
        if (rc && !old_again) {
            int i;
            for (i = 0; i < NUM_METAS; i++) env->me_metas[i] = (MDB_meta*)pages->lost_metas[i];
            env->me_map = NULL;
            env->me_maxpg = 0; /* so that kv_map_is_short asks for another try */
            return rc;
        }
    }
    env->me_maxpg = env->me_mapsize / env->me_psize;
    if (env->me_txn && old && env->me_map != old) move_pages(env->me_txn, old);
    return rc;
}

int kv_map_is_lost(MDB_env* env)
{
    return !env->me_map;
}

uint32_t kv_pages_left(MDB_txn* txn)
{
    return txn->mt_env->me_maxpg - txn->mt_next_pgno;
}

int kv_sync(MDB_env* env)
{
    if (!env->me_map) return ERROR_NOT_ENOUGH_MEMORY;
    /* The first call starts writing what the map has changed, the second waits until all of the file is on the disk. */
    return FlushViewOfFile(env->me_map, 0) && FlushFileBuffers(env->me_fd) ? ERROR_SUCCESS : (int)GetLastError();
}

void kv_forbid_reuse(MDB_env* env, int forbidden)
{
    pages_of(env)->reuse_forbidden = forbidden;
    env->me_pgoldest = 0; /* what the allocator remembers of earlier transactions */
}

/* ---- Lists of pages ------------------------------------------------------------------------------------------- */

int kv_list_free(MDB_txn* txn, uint8_t* free_map)
{
    MDB_cursor* cursor;
    MDB_val key, data;
    int rc = mdb_cursor_open(txn, FREE_DBI, &cursor);
    if (rc) return rc;
    for (rc = mdb_cursor_get(cursor, &key, &data, MDB_FIRST); !rc; rc = mdb_cursor_get(cursor, &key, &data, MDB_NEXT)) {
        const MDB_ID* list = data.mv_data;
        MDB_ID i;
        if (key.mv_size != sizeof(txnid_t) || data.mv_size < sizeof *list || list[0] > data.mv_size / sizeof *list - 1)
            break;
        for (i = 1; i <= list[0]; i++) {
            if (list[i] < KV_RESERVED_PAGES || list[i] >= txn->mt_next_pgno || (i > 1 && list[i] >= list[i - 1]) ||
                kv_bit(free_map, list[i])) {
                break;
            }
            kv_set_bit(free_map, list[i]);
        }
        if (i <= list[0]) break;
    }
    mdb_cursor_close(cursor);
    return rc == MDB_NOTFOUND ? MDB_SUCCESS : rc ? rc : MDB_CORRUPTED;
}

static int use_page(MDB_txn* txn, uint8_t* used_map, pgno_t page, uint32_t count)
{
    for (; count; page++, count--) {
        if (page < KV_RESERVED_PAGES || page >= txn->mt_next_pgno || kv_bit(used_map, page)) return 0;
        kv_set_bit(used_map, page);
    }
    return 1;
}

/* Keys ascend, from `low` on and below `high`, which may be null. */
static int keys_are_in_order(MDB_cmp_func* compare, const MDB_page* p, const MDB_val* low, const MDB_val* high)
{
    const unsigned first = IS_LEAF(p) ? 0 : 1;
    MDB_val before, key;
    unsigned i;
    for (i = first; i < NUMKEYS(p); i++) {
        MDB_GET_KEY2(NODEPTR((MDB_page*)p, i), key);
        if (i > first ? compare(&before, &key) >= 0 : low && compare(low, &key) > 0) return 0;
        before = key;
    }
    return !high || NUMKEYS(p) <= first || compare(&before, high) < 0;
}

static int list_tree(MDB_txn* txn, int tree, pgno_t root, unsigned depth, const MDB_val* low, const MDB_val* high,
                     uint8_t* used_map, uint32_t* bad)
{
    const MDB_page* p = (const MDB_page*)(txn->mt_env->me_map + (size_t)KV_PAGE_BYTES * root);
    unsigned i;
    *bad = root;
    if (!depth || !use_page(txn, used_map, root, 1) || !page_is_sound(p, root, txn->mt_next_pgno, 0))
        return MDB_CORRUPTED;
    if (depth == 1 ? !IS_LEAF(p) : !IS_BRANCH(p)) return MDB_CORRUPTED;
    if (tree == FREE_DBI && !has_number_keys(p)) return MDB_CORRUPTED;
    if (!keys_are_in_order(txn->mt_dbxs[tree].md_cmp, p, low, high)) return MDB_CORRUPTED;
    for (i = 0; i < NUMKEYS(p); i++) {
        const MDB_node* node = NODEPTR(p, i);
        if (IS_BRANCH(p)) {
            MDB_val begin, end;
            int rc;
            MDB_GET_KEY2(node, begin);
            if (i + 1 < NUMKEYS(p)) MDB_GET_KEY2(NODEPTR((MDB_page*)p, i + 1), end);
            rc = list_tree(txn, tree, NODEPGNO(node), depth - 1, i > 0 ? &begin : low, i + 1 < NUMKEYS(p) ? &end : high,
                           used_map, bad);
            if (rc) return rc;
            *bad = root;
        } else if (node->mn_flags & F_BIGDATA) {
            const uint32_t needed = OVPAGES(NODEDSZ(node), KV_PAGE_BYTES);
            const MDB_page* first;
            pgno_t page;
            memcpy(&page, NODEDATA(node), sizeof page);
            /* A value that shrinks within one transaction keeps the pages that it had. */
            first = (const MDB_page*)(txn->mt_env->me_map + (size_t)KV_PAGE_BYTES * page);
            if (first->mp_pgno != page || first->mp_flags != P_OVERFLOW || first->mp_pages < needed ||
                first->mp_pages > txn->mt_next_pgno - page || !use_page(txn, used_map, page, first->mp_pages)) {
                *bad = page;
                return MDB_CORRUPTED;
            }
        }
    }
    return MDB_SUCCESS;
}

int kv_list_used(MDB_txn* txn, uint8_t* used_map, uint32_t* page)
{
    int tree;
    for (tree = 0; tree < CORE_DBS; tree++) {
        const MDB_db* db = &txn->mt_dbs[tree];
        if (db->md_root != P_INVALID) {
            const int rc = list_tree(txn, tree, db->md_root, db->md_depth, NULL, NULL, used_map, page);
            if (rc) return rc;
        }
    }
    return MDB_SUCCESS;
}

/* ---- Pages as they lie in a file ------------------------------------------------------------------------------- */

kv_tree kv_tree_of(const kv_state* state, int which)
{
    MDB_db trees[CORE_DBS];
    kv_tree tree;
    memcpy(trees, state->trees, sizeof trees);
    tree.root = trees[which].md_root == P_INVALID ? KV_NO_PAGE : trees[which].md_root;
    tree.depth = trees[which].md_depth;
    tree.entries = trees[which].md_entries;
    return tree;
}

int kv_read_meta(const uint8_t bytes[KV_PAGE_BYTES], uint32_t number, kv_state* state)
{
    const MDB_page* page = (const MDB_page*)bytes;
    const MDB_meta* meta = METADATA(page);
    if (page->mp_pgno != number || page->mp_flags != P_META || meta->mm_magic != MDB_MAGIC ||
        meta->mm_version != MDB_DATA_VERSION || meta->mm_psize != KV_PAGE_BYTES) {
        return MDB_INVALID;
    }
    state_of(meta, state);
    return kv_state_is_sound(state, 0xFFFFFFFFu) ? MDB_SUCCESS : MDB_INVALID;
}

int kv_page_kind(const uint8_t bytes[KV_PAGE_BYTES], uint32_t number, uint32_t end)
{
    const MDB_page* page = (const MDB_page*)bytes;
    if (number < KV_RESERVED_PAGES || number >= end || !page_is_sound(page, number, end, 0)) return KV_PAGE_BAD;
    return IS_BRANCH(page) ? KV_PAGE_BRANCH : IS_LEAF(page) ? KV_PAGE_LEAF : KV_PAGE_LARGE;
}

uint32_t kv_entry_count(const uint8_t bytes[KV_PAGE_BYTES])
{
    const MDB_page* page = (const MDB_page*)bytes;
    return NUMKEYS(page);
}

kv_entry kv_entry_at(const uint8_t bytes[KV_PAGE_BYTES], uint32_t index)
{
    MDB_page* page = (MDB_page*)bytes;
    const MDB_node* node = NODEPTR(page, index);
    kv_entry entry = {NODEKEY(node), NULL, NODEKSZ(node), 0, KV_NO_PAGE};
    if (IS_BRANCH(page)) {
        entry.page = NODEPGNO(node);
        return entry;
    }
    entry.value_bytes = NODEDSZ(node);
    if (node->mn_flags & F_BIGDATA) {
        memcpy(&entry.page, NODEDATA(node), sizeof entry.page);
    } else {
        entry.value = NODEDATA(node);
    }
    return entry;
}

uint32_t kv_large_pages(uint32_t value_bytes)
{
    return OVPAGES(value_bytes, KV_PAGE_BYTES);
}

uint32_t kv_large_page_count(const uint8_t bytes[KV_PAGE_BYTES])
{
    return ((const MDB_page*)bytes)->mp_pages;
}

uint32_t kv_large_offset(void)
{
    return PAGEHDRSZ;
}
