#pragma once
// A thin RAII layer over one SQLite connection: cached prepared statements, bound parameters and
// transactions. Every use happens under the connection's lock (Database::Lock), because the services
// are called from several host threads and share the one connection.
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

namespace Kyr::PlatformServices {

class DatabaseError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Statement;

class Database {
public:
    // Opens or creates the file; WAL journal, full sync, foreign keys, a busy timeout.
    explicit Database(const std::string& path);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    std::unique_lock<std::recursive_mutex> Lock() { return std::unique_lock<std::recursive_mutex>(mutex); }

    // Runs SQL without parameters or results (schema, pragmas). Caller holds the lock.
    void Execute(const std::string& sql);
    // A prepared statement, reused across calls; reset when the returned Statement goes away.
    Statement Prepare(const std::string& sql);
    std::int64_t LastInsertRowId() const;
    int Changes() const;

    // Called, with the lock held, after a change to the database was committed (or a write rolled
    // back): readers that keep what they need in memory load it again here, on the writer's thread.
    void SetAfterWriteListener(std::function<void()> listener) { afterWrite = std::move(listener); }

private:
    friend class Statement;
    [[noreturn]] void Fail(const std::string& what) const;
    // After each statement: tells the listener once the written transaction has ended.
    void StatementDone(bool wrote);

    sqlite3* connection = nullptr;
    std::recursive_mutex mutex;
    std::unordered_map<std::string, sqlite3_stmt*> statements;
    std::function<void()> afterWrite;
    bool wroteSinceListener = false;
    bool inListener = false;
};

class Statement {
public:
    Statement(Database& database, sqlite3_stmt* statement) : database(&database), statement(statement) {}
    ~Statement();
    Statement(Statement&& other) noexcept : database(other.database), statement(other.statement) { other.statement = nullptr; }
    Statement& operator=(Statement&&) = delete;

    // Parameters are numbered from 1, as in SQL "?".
    Statement& Bind(int index, std::int64_t value);
    Statement& Bind(int index, const std::string& value);
    // Steps once: true while a row is available.
    bool Step();
    // Runs a statement that returns no rows.
    void Run();

    std::int64_t GetInt(int column) const;
    std::string GetText(int column) const;

private:
    Database* database;
    sqlite3_stmt* statement;
};

// One transaction: committed by Commit(), rolled back when left without it.
class Transaction {
public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit();

private:
    Database& database;
    std::unique_lock<std::recursive_mutex> lock;
    bool done = false;
};

} // namespace Kyr::PlatformServices
