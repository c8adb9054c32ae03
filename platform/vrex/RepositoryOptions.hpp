#pragma once

#include <memory>
#include <string>

#include "vrex/ObjectCodec.hpp"

namespace vrex {

// How a DataModelRepository opens its registry (DataModelRepository::Options).
struct RepositoryOptions {
    // How far a committed transaction survives a crash.
    enum class Durability {
        // Survives a crash of the process; the last transactions before a power loss or an
        // operating-system crash may be lost, the file never corrupted. Fast (no sync per commit).
        Normal,
        // Survives power loss too: every commit waits for the disk.
        Full,
    };

    // How long an operation waits for another process's lock before it fails with a
    // diagnostic saying the registry is locked and how long it waited. Default 60 s: parallel
    // code generation holds locks briefly. DataModelRepository::defaultOptions() takes it from
    // the environment variable SCM_BUSY_TIMEOUT_MS when that is set.
    int busyTimeoutMs = 60000;
    // The text of SCM_BUSY_TIMEOUT_MS when it is not a whole number of milliseconds from 0 to
    // INT_MAX (set by DataModelRepository::defaultOptions()); open refuses with
    // "vrex:open:badBusyTimeout" while it is not empty. Default empty.
    std::string busyTimeoutError;
    // PostgreSQL: how long a statement may run beyond the busy timeout. Past both, the server
    // cancels it (statement_timeout) and the client stops waiting for its answer, cancels it
    // and, when the server does not answer the cancel either, closes the connection. Default
    // 60 s; tests shorten it.
    int statementMarginMs = 60000;
    Durability durability = Durability::Normal;
    // Open for reading only: writes and metamodel additions fail with diagnostics. A registry
    // file the process may not write, or whose directory it may not write, is opened so
    // anyway; then nothing is left beside the file after close. Default false.
    bool readOnly = false;
    // Refuse up front, with one "vrex:open:readOnly" diagnostic saying why, a registry this
    // process cannot write: a read-only file, a file in a read-only directory (the log beside
    // the file cannot be made), a database role without INSERT or UPDATE on the registry's
    // tables. Default false: such a registry opens for reading.
    bool requireWrite = false;
    // Encodes the values of object properties; null: object properties cannot be used.
    std::shared_ptr<const ObjectCodec> objectCodec;
};

}  // namespace vrex
