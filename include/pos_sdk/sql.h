/* SQL access layer: one process-wide SQLite connection with a shared command buffer, a
 * cached table-form select result with a row cursor, one prepared statement for blob
 * input and output, and the semaphore that serialises every user of that state.
 *
 * None of these functions locks by itself: bracket each sequence (format into the command
 * buffer, run, read the result) with SQL_Semaphore_Wait and SQL_Semaphore_Release. */
#ifndef POS_SDK_SQL_H
#define POS_SDK_SQL_H

#include "pos_export.h"

POS_BEGIN_DECLS

/* Size of the buffer returned by SQL_GetCommandBuf. */
#define SQL_COMMAND_BUF_SIZE 512

/* A table-form select result as sqlite3_get_table returns it. Row 0 of the table holds
 * the column names; data row r, column c is ppszTable[c + (r + 1) * nColumnCount]. */
typedef struct {
    char **ppszTable;
    int nRowCount; /* data rows, not counting the header row */
    int nColumnCount;
} SQL_SELECT_RECORD;

/* Opens FILENAME as the process's one connection, retrying five times 200 ms apart.
 * Returns 0 or -1. */
POS_API int SQL_OpenDB(const char *filename);
/* Releases the select result, the statement and the connection. Returns 0. */
POS_API int SQL_Close(void);

/* Runs SQL (any number of statements) without a callback; 0 or -1. */
POS_API int SQL_Exec(const char *sql);
POS_API int SQL_BeginTransaction(void);
POS_API int SQL_CommitTransaction(void);
POS_API int SQL_RollbackTransaction(void);

/* Runs SQL into the cached select result and puts the cursor on the first data row. */
POS_API int SQL_Select(const char *sql);
/* Frees the cached result table; the row and column counts are left as they were. */
POS_API int SQL_FreeSelectRecord(void);
/* Number of data rows in the cached select result. */
POS_API int SQL_GetTotalNum(void);
/* Moves the cursor to the next data row. Returns 0. */
POS_API int SQL_QueryNext(void);
/* Moves the cursor to zero-based data row ROW. Returns 0. */
POS_API int SQL_GotoRow(int row);
/* 1 once the cursor is past the last data row, else 0. */
POS_API int SQL_Eof(void);

/* Copies column COL of the current row into DST. A missing column or a null cell gives the
 * empty string. A cell of SIZE characters or more is cut to SIZE - 1 and terminated;
 * a SIZE of 0 copies the whole cell, so the caller must know it fits. Returns 0, or -1
 * for a null DST. */
POS_API int SQL_IPI_GetQueryStringByIndex(int col, char *dst, unsigned size);
/* The same copy from REC at zero-based data row ROW. */
POS_API int SQL_GetStringData(const SQL_SELECT_RECORD *rec, int row, int col, char *dst,
                              unsigned size);
/* TYPE 1: copies column COL as text into BUF (as SQL_IPI_GetQueryStringByIndex) and
 * returns 0. Any other TYPE: returns the column read as a decimal number with
 * SQL_AddStrDec (at most 11 characters); BUF and SIZE are then unused. */
POS_API int SQL_GetData(int col, char *buf, unsigned size, int type);
/* Decimal text to integer. Only a first character above '9' marks a negative number (so
 * "A5" is -5); a leading '-' counts as the digit value -3, and "-12" reads -288. */
POS_API int SQL_AddStrDec(const char *text);

/* Prepares SQL, binds LEN bytes of BLOB to parameter INDEX, steps once and finalises.
 * Returns 0 when the statement ran to completion, else -1. */
POS_API int SQL_ExecEx(const char *sql, int index, int len, const void *blob);
/* Prepares SQL into the statement slot for SQL_SelectEx. 0 or -1. */
POS_API int SQL_prepare(const char *sql);
/* Steps the prepared statement. On a row whose column COL is a blob of exactly LEN bytes,
 * copies it into BUF and returns LEN; other sizes or a null blob give -1; no row (or a
 * step error) gives -4. The statement stays prepared. */
POS_API int SQL_SelectEx(int col, int len, void *buf);
/* Finalises the prepared statement, if any. Returns 0. */
POS_API int SQL_Finalize(void);

/* The process-private semaphore (count 1) around every use of the state above; each
 * returns the result of the underlying sem_* call. */
POS_API int SQL_Semaphore_Create(void);
POS_API int SQL_Semaphore_Destroy(void);
POS_API int SQL_Semaphore_Wait(void);
POS_API int SQL_Semaphore_Release(void);

/* The shared SQL_COMMAND_BUF_SIZE-character command buffer. */
POS_API char *SQL_GetCommandBuf(void);

POS_END_DECLS

#endif
