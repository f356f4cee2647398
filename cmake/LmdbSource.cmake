# Unpacks LMDB's source package (fetched by scripts/setup.sh) into the build folder and prepares the copy that
# platform/objectstore/lmdb.c includes. The reasons for the insertions stand in lmdb.c and in docs/database.md.
# Sets KORVANE_LMDB_DIR.
file(GLOB package ${CMAKE_SOURCE_DIR}/build/deps/lmdb/lmdb_0.9.24*.orig.tar.*)
if(NOT package)
    message(FATAL_ERROR "The source package of lmdb 0.9.24 is not in build/deps/lmdb: run scripts/setup.sh first.")
endif()
set(KORVANE_LMDB_DIR ${CMAKE_BINARY_DIR}/lmdb)
file(MAKE_DIRECTORY ${KORVANE_LMDB_DIR})
execute_process(COMMAND tar -xf ${package} -C ${KORVANE_LMDB_DIR} --strip-components=3 --wildcards
                        "*/liblmdb/mdb.c" "*/liblmdb/midl.c" "*/liblmdb/lmdb.h" "*/liblmdb/midl.h"
                        "*/liblmdb/LICENSE" "*/liblmdb/COPYRIGHT"
                COMMAND_ERROR_IS_FATAL ANY)
file(READ ${KORVANE_LMDB_DIR}/mdb.c lmdb_source)

# lmdb_replace(TEXT REPLACEMENT): TEXT must stand in the source, or the version is not the one we know.
macro(lmdb_replace text replacement)
    string(FIND "${lmdb_source}" "${text}" place)
    if(place EQUAL -1)
        message(FATAL_ERROR "lmdb's mdb.c is not the version this project knows: it lacks \"${text}\"")
    endif()
    string(REPLACE "${text}" "${replacement}" lmdb_source "${lmdb_source}")
endmacro()

# The store of the transaction number is a commit's last act: without a barrier the compiler moves it forward.
lmdb_replace("\t\tmp->mm_txnid = txn->mt_txnid;" "\t\t__atomic_thread_fence(__ATOMIC_RELEASE);\n\t\tmp->mm_txnid = txn->mt_txnid;")
# Pages of the last flushed state are kept out of the free list.
lmdb_replace("\t\tif (freecnt < txn->mt_free_pgs[0]) {" "\t\tif ((rc = kv_hold_pages(txn)) != 0)\n\t\t\treturn rc;\n\t\tif (freecnt < txn->mt_free_pgs[0]) {")
lmdb_replace("\tfree_pgs = txn->mt_free_pgs;" "\tif ((rc = kv_hold_pages(txn)) != 0)\n\t\t\t\treturn rc;\n\t\t\tfree_pgs = txn->mt_free_pgs;")
lmdb_replace("\ttxnid_t mr, oldest = txn->mt_txnid - 1;" "\ttxnid_t mr, oldest = kv_reuse_forbidden(txn->mt_env) ? 0 : txn->mt_txnid - 1;")
# A table's records are appended in the middle of the map: the pages that they fill stay full.
lmdb_replace("\t\t\tif (split_indx == newindx) {" "\t\t\tsplit_indx = kv_split_point(mp, newkey, nsize, newindx, split_indx, pmax);\n\t\t\tif (split_indx == newindx) {")
# A page is looked at before it is trusted, and looked at again after it was given to a large value.
lmdb_replace("\nsearch_done:\n" "\nsearch_done:\n\tkv_page_taken(env, pgno, num);\n")
lmdb_replace("done:\n\t*ret = p;" "\tif (!kv_page_is_sound(env, p, pgno, txn->mt_next_pgno)) {\n\t\ttxn->mt_flags |= MDB_TXN_ERROR;\n\t\treturn MDB_CORRUPTED;\n\t}\ndone:\n\t*ret = p;")
# What a branch leads to must be a page of its level, and what a large value's entry leads to a large page: LMDB asserts it.
lmdb_replace("if ((rc = mdb_page_get(mc, NODEPGNO(node), &mp, NULL)) != 0)" "if ((rc = mdb_page_get(mc, NODEPGNO(node), &mp, NULL)) != 0 ||\n\t\t\t(rc = kv_tree_page(mc, mp, mc->mc_snum, mc->mc_db->md_depth)) != 0)")
lmdb_replace("if ((rc = mdb_page_get(mc, root, &mc->mc_pg[0], NULL)) != 0)" "if ((rc = mdb_page_get(mc, root, &mc->mc_pg[0], NULL)) != 0 ||\n\t\t\t(rc = kv_tree_page(mc, mc->mc_pg[0], 0, mc->mc_db->md_depth)) != 0)")
lmdb_replace("if ((rc = mdb_page_get(mc, NODEPGNO(indx), &mp, NULL)) != 0) {" "if ((rc = mdb_page_get(mc, NODEPGNO(indx), &mp, NULL)) != 0 ||\n\t\t(rc = kv_tree_page(mc, mp, mc->mc_snum, mc->mc_db->md_depth)) != 0) {")
lmdb_replace("rc = mdb_page_get(mc, mc->mc_db->md_root, &mc->mc_pg[0], NULL);" "rc = mdb_page_get(mc, mc->mc_db->md_root, &mc->mc_pg[0], NULL);\n\t\t\tif (!rc) rc = kv_tree_page(mc, mc->mc_pg[0], 0, mc->mc_db->md_depth - 1);")
lmdb_replace("rc = mdb_page_get(mc, NODEPGNO(node), &mn.mc_pg[mn.mc_top], NULL);" "rc = mdb_page_get(mc, NODEPGNO(node), &mn.mc_pg[mn.mc_top], NULL);\n\t\tif (!rc) rc = kv_tree_page(mc, mn.mc_pg[mn.mc_top], mn.mc_top, mc->mc_db->md_depth);")
lmdb_replace("if ((rc = mdb_page_get(mc, pgno, &omp, NULL)) != 0) {" "if ((rc = mdb_page_get(mc, pgno, &omp, NULL)) != 0 ||\n\t\t(rc = kv_large_page(mc, omp, data->mv_size)) != 0) {")
lmdb_replace("if ((rc2 = mdb_page_get(mc, pg, &omp, &level)) != 0)" "if ((rc2 = mdb_page_get(mc, pg, &omp, &level)) != 0 ||\n\t\t\t\t(rc2 = kv_large_page(mc, omp, olddata.mv_size)) != 0)")
lmdb_replace("if ((rc = mdb_page_get(mc, pg, &omp, NULL)) ||" "if ((rc = mdb_page_get(mc, pg, &omp, NULL)) ||\n\t\t\t(rc = kv_large_page(mc, omp, NODEDSZ(leaf))) ||")

# A walk that comes to another page has got on.
lmdb_replace("if ((rc = mdb_cursor_sibling(mc, 1)) != MDB_SUCCESS) {" "if ((rc = mdb_cursor_sibling(mc, 1)) != MDB_SUCCESS || (rc = kv_next_page(mc)) != MDB_SUCCESS) {")
lmdb_replace("if ((rc = mdb_cursor_sibling(mc, 0)) != MDB_SUCCESS) {" "if ((rc = mdb_cursor_sibling(mc, 0)) != MDB_SUCCESS || (rc = kv_next_page(mc)) != MDB_SUCCESS) {")
# A key that belongs right behind the one that the cursor put last needs no search from the root.
lmdb_replace("\t\t\trc = mdb_cursor_set(mc, key, &d2, MDB_SET, &exact);\n" "\t\t\trc = (mc->mc_flags & C_INITIALIZED) && kv_place_ahead(mc, key) ? MDB_NOTFOUND : mdb_cursor_set(mc, key, &d2, MDB_SET, &exact);\n")
# What a search in a page may look at next is on its way from memory while it looks at the present one.
lmdb_replace("\t\t\ti = (low + high) >> 1;\n\n\t\t\tnode = NODEPTR(mp, i);" "\t\t\tkv_fetch_nodes(mp, low, high, nkeys);\n\t\t\ti = (low + high) >> 1;\n\n\t\t\tnode = NODEPTR(mp, i);")
# The file is opened once, by the volume, which also closes it; reading it needs no completion.
lmdb_replace("rc = mdb_fopen(env, &fname,\n\t\t(flags & MDB_RDONLY) ? MDB_O_RDONLY : MDB_O_RDWR,\n\t\tmode, &env->me_fd);" "rc = kv_take_file(env);")
lmdb_replace("\tif (env->me_fd != INVALID_HANDLE_VALUE)\n\t\t(void) close(env->me_fd);\n" "")
lmdb_replace("rc = ReadFile(env->me_fd, &pbuf, Size, &len, &ov) ? (int)len : -1;" "rc = kv_read_file(env, off, &pbuf, Size, &len) ? (int)len : -1;")

file(WRITE ${KORVANE_LMDB_DIR}/mdb_prepared.c.new "${lmdb_source}")
file(COPY_FILE ${KORVANE_LMDB_DIR}/mdb_prepared.c.new ${KORVANE_LMDB_DIR}/mdb_prepared.c ONLY_IF_DIFFERENT)
