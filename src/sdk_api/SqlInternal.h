// Storage internals shared by the SQL layer and the record database; not part of the API.
#ifndef POS_SDK_SQL_INTERNAL_H
#define POS_SDK_SQL_INTERNAL_H

struct sqlite3;

namespace pos::storage {

// The process's connection, or null while closed. For maintenance statements that must
// stay silent (no log line), such as creating the key index beside a table.
sqlite3 *connection();

}  // namespace pos::storage

#endif
