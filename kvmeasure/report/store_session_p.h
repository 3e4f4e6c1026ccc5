#pragma once

#include <kvmeasure/report/store_dialect_p.h>

#include <memory>

namespace KvMeasure::Internal {

/// An open store of this form. All functions throw Error with file() and what the user can do.
class StoreSession {
public:
    /// Opens a store; one that is to be written is made where there is none. Waits for other programs as long
    /// as that, here and in every call.
    StoreSession(const QString& path, bool isWritten, double waitSeconds);

    void run(const QString& statement, const QVariantList& values = {});
    bool next(QVariantList& row);  ///< of the last statement; false after the last one
    /// The first cell of the only row; not valid where there is no row.
    QVariant cell(const QString& statement, const QVariantList& values = {});
    const QString& name() const { return place_.name; }              ///< for messages
    const StoreDialect& dialect() const { return dialect_; }         ///< of its database
    const QString& database() const { return place_.sql.database; }  ///< SQLite: path of the file
    void abandon() noexcept;                                         ///< rolls a transaction back
    [[noreturn]] void refuse(const QString& sentence) const;         ///< throws it after the name

private:
    void open(bool isWritten);
    void requireForm();
    void require(SqlOutcome outcome) const;

    double waitSeconds_;
    StorePlace place_;
    const StoreDialect& dialect_;
    std::unique_ptr<SqlConnection> connection_;
};

/// What is done until commit() is done whole or not at all.
class StoreTransaction {
public:
    /// `isWritten`: rows are added; else it sees one state of the store throughout.
    StoreTransaction(StoreSession& session, bool isWritten);
    StoreTransaction(const StoreTransaction&) = delete;
    StoreTransaction& operator=(const StoreTransaction&) = delete;
    ~StoreTransaction();
    void commit();  ///< after it everything is on the disk

private:
    StoreSession& session_;
    bool isOpen_ = true;
};

/// A cell that holds a number: NaN for none; throws Error for a text.
double numberOf(const QVariant& cell, const QString& path);

}  // namespace KvMeasure::Internal
