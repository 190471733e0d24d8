// SPDX-License-Identifier: Apache-2.0
// The tables of a results store, and how an older store becomes one of today.
#ifndef FAPI_BENCH_RECORD_SCHEMA_H
#define FAPI_BENCH_RECORD_SCHEMA_H

#include "record/database.h"

namespace tool {

// Makes the tables that are missing; an older file is first copied to FILE.version-N. Throws ResultsError, also for a
// store of a newer bench and for a file that holds something else, which stay as they are.
void migrate(Database& database);

// For who only reads: throws ResultsError unless the store is of this version.
void requireSchema(Database& database);

}  // namespace tool

#endif
