#pragma once

#include <kvmeasure/report/sql_connection_p.h>

#include <memory>

namespace KvMeasure::Internal {

/// An open store of this form. All functions throw Error with file() and what the user can do.
class StoreSession {
public:
    /// Opens a store; one that is to be written is made where there is none. Waits for other programs as long
    /// as that, here and in every call.
    StoreSession(const QString& path, bool isWritten, double waitSeconds);

    void run(const QString& statement, const QVariantList& values = {});
    bool next(QVariantList& row);  ///< of the last statement; false behind the last one
    /// The first cell of the only row; not valid where there is no row.
    QVariant cell(const QString& statement, const QVariantList& values = {});
    const QString& path() const { return path_; }
    void abandon() noexcept;  ///< rolls a transaction back

private:
    void open(bool isWritten);
    void makeForm();
    void requireForm();
    void require(SqlOutcome outcome) {
        outcome == SqlOutcome::Failed || outcome == SqlOutcome::Busy ? fail() : void();
    }
    [[noreturn]] void fail() const;
    [[noreturn]] void refuse(const char* reason) const;

    QString path_;
    double waitSeconds_;
    std::unique_ptr<SqlConnection> connection_;
};

/// What is done until commit() is done whole or not at all.
class StoreTransaction {
public:
    /// `isWritten`: other writers wait until it ends; else it sees one state of the store throughout.
    StoreTransaction(StoreSession& session, bool isWritten);
    StoreTransaction(const StoreTransaction&) = delete;
    StoreTransaction& operator=(const StoreTransaction&) = delete;
    ~StoreTransaction();
    void commit();  ///< behind it everything is on the disk

private:
    StoreSession& session_;
    bool isOpen_ = true;
};

/// A cell that holds a number: NaN for none; throws Error for a text.
double numberOf(const QVariant& cell, const QString& path);

}  // namespace KvMeasure::Internal
