#include "Sqlite.h"

#include <sqlite3.h>

namespace Kyr::PlatformServices {

Database::Database(const std::string& path) {
    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
    if (sqlite3_open_v2(path.c_str(), &connection, flags, nullptr) != SQLITE_OK) {
        std::string message = connection ? sqlite3_errmsg(connection) : "out of memory";
        sqlite3_close(connection);
        connection = nullptr;
        throw DatabaseError("Cannot open database " + path + ": " + message);
    }
    sqlite3_busy_timeout(connection, 5000);
    try {
        // The first statements read the file: a damaged one is found here, and named.
        Execute("PRAGMA journal_mode=WAL");
        // FULL: a committed change survives a power loss, not only a crash of the process.
        Execute("PRAGMA synchronous=FULL");
        Execute("PRAGMA foreign_keys=ON");
    } catch (const DatabaseError& error) {
        sqlite3_close(connection); // no destructor runs for a constructor that throws
        connection = nullptr;
        throw DatabaseError("Cannot open database " + path + ": " + error.what());
    }
}

Database::~Database() {
    for (auto& entry : statements) sqlite3_finalize(entry.second);
    sqlite3_close(connection);
}

void Database::Fail(const std::string& what) const {
    throw DatabaseError(what + ": " + sqlite3_errmsg(connection));
}

void Database::Execute(const std::string& sql) {
    char* error = nullptr;
    if (sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        std::string message = error ? error : "unknown error";
        sqlite3_free(error);
        throw DatabaseError("SQL failed: " + message);
    }
    // Schema changes, COMMIT and ROLLBACK come this way; only opening a transaction writes nothing.
    StatementDone(sql.rfind("BEGIN", 0) != 0);
}

void Database::StatementDone(bool wrote) {
    wroteSinceListener = wroteSinceListener || wrote;
    if (!wroteSinceListener || inListener || !afterWrite || !sqlite3_get_autocommit(connection)) return;
    wroteSinceListener = false;
    inListener = true;
    try {
        afterWrite();
    } catch (...) {
        inListener = false;
        throw;
    }
    inListener = false;
}

Statement Database::Prepare(const std::string& sql) {
    auto found = statements.find(sql);
    if (found != statements.end()) return Statement(*this, found->second);
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(connection, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK)
        Fail("Cannot prepare statement");
    statements.emplace(sql, statement);
    return Statement(*this, statement);
}

std::int64_t Database::LastInsertRowId() const { return sqlite3_last_insert_rowid(connection); }
int Database::Changes() const { return sqlite3_changes(connection); }

Statement::~Statement() {
    if (!statement) return;
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
}

Statement& Statement::Bind(int index, std::int64_t value) {
    if (sqlite3_bind_int64(statement, index, value) != SQLITE_OK) database->Fail("Cannot bind parameter");
    return *this;
}

Statement& Statement::Bind(int index, const std::string& value) {
    if (sqlite3_bind_text(statement, index, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT) != SQLITE_OK)
        database->Fail("Cannot bind parameter");
    return *this;
}

bool Statement::Step() {
    int result = sqlite3_step(statement);
    if (result == SQLITE_ROW) return true;
    if (result == SQLITE_DONE) {
        database->StatementDone(sqlite3_stmt_readonly(statement) == 0);
        return false;
    }
    database->Fail("Statement failed");
}

void Statement::Run() {
    while (Step()) {
    }
}

std::int64_t Statement::GetInt(int column) const { return sqlite3_column_int64(statement, column); }

std::string Statement::GetText(int column) const {
    auto text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    int size = sqlite3_column_bytes(statement, column);
    return text ? std::string(text, static_cast<std::size_t>(size)) : std::string();
}

Transaction::Transaction(Database& database) : database(database), lock(database.Lock()) {
    database.Execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    if (done) return;
    try {
        database.Execute("ROLLBACK");
    } catch (...) {
        // Nothing more can be done; SQLite rolls back on its own when the connection closes.
    }
}

void Transaction::Commit() {
    database.Execute("COMMIT");
    done = true;
}

} // namespace Kyr::PlatformServices
