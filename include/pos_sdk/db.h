/* Record database: tables of fixed-size binary records in one SQLite file per process,
 * addressed by zero-based position in insertion order or by a text key.
 *
 * DB_b... return 0 or -1; DB_n... a count or byte length, or -1; DB_h... a handle or NULL.
 * After a failure DB_nGetLastError tells why: -1 an SQL statement failed, -2 a parameter
 * was invalid, -4 the addressed record, key or match does not exist. */
#ifndef POS_SDK_DB_H
#define POS_SDK_DB_H

#include "pos_export.h"

POS_BEGIN_DECLS

/* Longest table name DB_hOpen accepts, and the largest record length. */
#define DB_MAX_TABLE_NAME_LEN 64
#define DB_MAX_RECORD_LEN 10240
/* Longest application id. */
#define DB_MAX_APP_ID_LEN 32

/* Last-error codes. */
#define DB_ERR_NONE 0
#define DB_ERR_SQL (-1)
#define DB_ERR_PARAM (-2)
#define DB_ERR_NO_ROW (-4)

/* Match function of DB_nSearchRec: returns 0 when RECORD (RECORDLEN bytes) matches KEY. */
typedef int (*DB_MATCH_FUNC)(const void *key, int keyLen, const void *record, int recordLen);

/* What DB_nSearchRec looks for: 24 bytes with pfnMatch at offset 16 on a 64-bit build, 16
 * bytes with pfnMatch at offset 12 on a 32-bit one. */
typedef struct {
    const void *pvKey;
    int nKeyLen;
    int nReserved; /* not used */
    DB_MATCH_FUNC pfnMatch;
} _SearchingHelper;

/* Match function comparing the first KEYLEN bytes of RECORD with KEY: 0 when equal, -1 when
 * the key sorts lower, 1 when higher. */
POS_API int IsParamIdMatchFunc(const void *key, int keyLen, const void *record, int recordLen);

/* Opens "CWD/LinuxPos.db" and remembers APPID (at most 32 characters). A second call while
 * initialised is a successful no-op. */
POS_API int DB_bInit(const char *appId);
/* Opens "DIR/APPID.db", creating DIR when it does not exist. */
POS_API int DB_bInitBySysService(const char *dir, const char *appId);
/* Opens PATH as the process's database; fails when one is already open. 0 or -1. */
POS_API int DB_vOpenDBFile(char *path);
/* Closes the database. Handles stay allocated; free them with DB_vClose first. */
POS_API void DB_vUnInit(void);

/* Opens (creating it when needed) the table NAME of at most 64 identifier characters, for
 * records of up to NMAXLENOFREC (at most 10240) bytes. Returns a handle for DB_vClose,
 * or NULL. The handle starts with the table name, so it can stand for the name. */
POS_API void *DB_hOpen(const char *name, int nMaxLenOfRec);
/* Frees a handle from DB_hOpen. */
POS_API void DB_vClose(void *h);
/* Deletes every record of the table and restarts its numbering. */
POS_API int DB_bClear(void *h);
/* Drops the table NAME. */
POS_API int DB_bRemove(const char *name);
/* 0 when an object called NAME exists in the database, else -1. */
POS_API int DB_bIsExsit(const char *name);
/* Number of records in the table, or -1. */
POS_API int DB_nGetRecordSUM(void *h);
/* Result of the handle's last operation (see the codes above); -1 for a null handle. */
POS_API int DB_nGetLastError(void *h);

/* Records by zero-based position. The stored record must be exactly LEN bytes to be read;
 * reads and writes return LEN on success. Note the argument orders, kept as they are. */
POS_API int DB_nReadRec(void *h, int index, int len, void *buf);
POS_API int DB_nGetFirstRecord(void *h, int unused, void *buf, int len);
/* The plain append supplies two values for three columns, so tables made by DB_hOpen refuse
 * it (kept as it has always been); store records with DB_nAppendRecByKey. */
POS_API int DB_nAppendRec(void *h, char *data, int len);
POS_API int DB_nReplaceRec(void *h, int index, void *data, int len);
POS_API int DB_bDeleteRec(void *h, int index);

/* Records by key. Keys of any text are safe; one too long for a 512-character statement is
 * refused with last error -2. */
POS_API int DB_nReadRecByKey(void *h, const char *key, int len, void *buf);
POS_API int DB_nAppendRecByKey(void *h, const char *key, void *data, int len);
POS_API int DB_bDeleteRecByKey(void *h, const char *key);
POS_API int DB_nReplaceRecByKey(void *h, const char *key, int len, void *data);

/* Reads the records of LEN bytes in order into BUF until HELPER's match function accepts
 * one; stores its position in *INDEX and returns LEN. Stops with -1 at the first record of
 * another size, or when none matched (last error -4). The match function runs while the
 * database is locked and must not call DB_ or SQL_ functions. */
POS_API int DB_nSearchRec(void *h, _SearchingHelper *helper, int len, char *buf, int *index);

POS_END_DECLS

#endif
