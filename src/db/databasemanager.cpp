// SPDX-License-Identifier: MIT
#include "db/databasemanager.h"

#include "kilnutil/error.h"

#include <QCoreApplication>
#include <QDir>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

struct KindTexts
{
    QString driver;
    QString host;
    QString description;
    QString titleOfNew; ///< of the dialog
    QString titleOfExisting;
    QString filter;
};

// The wording of the last two kinds is meant as it stands.
const KindTexts &TextsOf(KilnUtil_Database_Foundation::DatabaseTypeEnum kind)
{
    static const std::array<KindTexts, 4> texts{{
        {u"QSQLITE"_s, {}, u"Connection to SQLite memory database:  "_s, {}, {}, {}},
        {u"QSQLITE"_s,
         {},
         u"Connection to SQLite file database:  "_s,
         u"Specify an SQLite Database File"_s,
         u"Select an SQLite Database File"_s,
         u"SQLite Databases (*.*)"_s},
        {u"QMYSQL"_s, u"localhost"_s, u"Connection to MySQL file/directory database:  "_s,
         u"Specify a MySQL Database File or Directory"_s, u"Select a MySQL Database File or Directory"_s,
         u"MySQL Databases (*.*)"_s},
        {u"QPSQL"_s, u"localhost"_s, u"Connection to PostgresQL file/directory database:  "_s,
         u"Specify a MySQL Database File or Directory"_s, u"Select a MySQL Database File or Directory"_s,
         u"PostGreSQL Databases (*.*)"_s},
    }};
    return texts.at(static_cast<std::size_t>(kind));
}

QString AskForName(KilnUtil_Database_Foundation::DatabaseTypeEnum kind, bool create)
{
    const KindTexts &texts = TextsOf(kind);
    KilnUtil_UserPrompt &prompt = KilnUtil_Error::UserPrompt();
    return create ? prompt.AskSaveFileName(texts.titleOfNew, QDir::currentPath(), texts.filter)
                  : prompt.AskOpenFileName(texts.titleOfExisting, QDir::currentPath(), texts.filter);
}

std::unique_ptr<Taskmill_Database> Make(KilnUtil_Database_Foundation::DatabaseTypeEnum kind,
                                        KilnUtil_Database_Foundation::DatabaseTypeEnum recordedKind,
                                        const QString &name)
{
    const KindTexts &texts = TextsOf(kind);
    const QString shownName = name.isEmpty() ? u"<no name>"_s : name;
    return std::make_unique<Taskmill_Database>(recordedKind, name, texts.driver, texts.host, QString{},
                                               QString{}, texts.description + shownName,
                                               u"Database Object"_s);
}

Taskmill_Database_Manager *g_manager = nullptr;

} // namespace

Taskmill_Database_Manager &Taskmill_Database_Manager::Global()
{
    if (!g_manager) {
        g_manager = new Taskmill_Database_Manager;
        // Qt's own list of connections may be gone before static objects are destroyed.
        qAddPostRoutine([] { delete std::exchange(g_manager, nullptr); });
    }
    return *g_manager;
}

Taskmill_Database_Manager::~Taskmill_Database_Manager()
{
    CloseAll();
}

Taskmill_Database *Taskmill_Database_Manager::Database(DatabaseTypeEnum kind, const QString &name,
                                                       bool create)
{
    if (name.isEmpty() && m_current && m_current->Kind() == kind)
        return m_current;
    if (name.isEmpty() && kind != DatabaseTypeEnum::SQLiteMemory) {
        const QString chosen = AskForName(kind, create);
        return chosen.isEmpty() ? nullptr : Add(kind, kind, chosen);
    }

    const auto found = std::ranges::find_if(m_databases, [&](const auto &database) {
        return database->Kind() == kind && database->Name() == name;
    });
    if (found != m_databases.end()) {
        m_current = found->get();
        return m_current;
    }
    // A PostgreSQL database whose name is given is recorded as one of MySQL; it is found again as such only.
    return Add(kind, kind == DatabaseTypeEnum::PostgreSQL ? DatabaseTypeEnum::MySQL : kind, name);
}

Taskmill_Database *Taskmill_Database_Manager::CurrentDatabase() const
{
    return m_current;
}

void Taskmill_Database_Manager::CloseAll()
{
    // What a closing database calls back must not find it as the current one any more.
    m_current = nullptr;
    const auto databases = std::exchange(m_databases, {});
    for (const auto &database : databases)
        database->Close();
}

std::unique_ptr<Taskmill_Database> Taskmill_Database_Manager::MakeMemoryDatabase()
{
    return Make(KilnUtil_Database_Foundation::SQLiteMemory, KilnUtil_Database_Foundation::SQLiteMemory, {});
}

Taskmill_Database *Taskmill_Database_Manager::Adopt(std::unique_ptr<Taskmill_Database> database)
{
    m_databases.push_back(std::move(database));
    m_current = m_databases.back().get();
    return m_current;
}

Taskmill_Database *Taskmill_Database_Manager::Add(DatabaseTypeEnum kind, DatabaseTypeEnum recordedKind,
                                                  const QString &name)
{
    return Adopt(Make(kind, recordedKind, name));
}
