// SPDX-License-Identifier: MIT
#include "requests/clientgate.h"

#include "kilnutil/logging.h"
#include "kilnutil/statefolder.h"
#include "requests/requestmessage.h"
#include "wire/clientkey.h"
#include "wire/otherusers.h"
#include "wire/privatefile.h"

#include <QRandomGenerator>

#include <array>
#include <memory>
#include <utility>

using namespace std::chrono_literals;

namespace {
QByteArray NewKey()
{
    std::array<quint32, 8> words{};
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    return QByteArray{reinterpret_cast<const char *>(words.data()), sizeof words}.toHex();
}
} // namespace

Taskmill_ClientGate::Environment Taskmill_ClientGate::Environment::OfThisComputer()
{
    const auto others = std::make_shared<Taskmill_OtherUsers>();
    return {.UserOf = Taskmill_UserOfPeer,
            .AreOthersAbout = [others] { return others->AreAbout(); },
            .IsOtherPerson =
                [others](Taskmill_Socket::Handle connection) {
                    const auto user = Taskmill_UserIDOfPeer(connection);
                    return user && others->Contain(*user);
                },
            .LookEvery = 1min,
            .RememberFor = 10min,
            .AcceptUnknown = qEnvironmentVariable("TASKMILL_ACCEPT_UNKNOWN") == QLatin1StringView{"1"}};
}

Taskmill_ClientGate::Taskmill_ClientGate(Environment environment)
    : m_environment{std::move(environment)}
{
    // A minute more or less does not matter: an idle program is to wake up together with others.
    m_lookTimer.setTimerType(Qt::VeryCoarseTimer);
    m_lookTimer.setInterval(m_environment.LookEvery);
    connect(&m_lookTimer, &QTimer::timeout, this, [this] {
        // The system removes the folder of a session that has ended.
        WriteKey();
        if (!m_environment.AcceptUnknown)
            (void)OthersWereAbout();
    });
}

Taskmill_ClientGate::~Taskmill_ClientGate()
{
    Close();
}

void Taskmill_ClientGate::Open(quint16 port)
{
    Close();
    m_key = NewKey();
    m_port = port;
    WriteKey();
    if (m_keyFiles.empty())
        qCWarning(
            Taskmill_RequestsLog,
            "The key for clients cannot be written; they have to stay connected until they are answered");
    if (!m_environment.AcceptUnknown)
        (void)OthersWereAbout();
    m_lookTimer.start();
}

void Taskmill_ClientGate::WriteKey()
{
    m_keyFiles = Taskmill_WriteClientKey(m_port, m_key.toStdString(), KilnUtil_StateFolder().toStdString());
}

void Taskmill_ClientGate::Close()
{
    m_lookTimer.stop();
    for (const std::string &file : std::exchange(m_keyFiles, {}))
        Taskmill_RemovePrivateFile(file, m_key.toStdString());
    m_key.clear();
}

Taskmill_PeerUser Taskmill_ClientGate::UserOf(Taskmill_Socket::Handle connection) const
{
    return m_environment.UserOf(connection);
}

void Taskmill_ClientGate::TakeOther(Taskmill_Socket::Handle connection)
{
    if (m_environment.IsOtherPerson(connection))
        m_othersAbout.setRemainingTime(m_environment.RememberFor, Qt::VeryCoarseTimer);
}

bool Taskmill_ClientGate::Admits(QByteArrayView message)
{
    if (m_environment.AcceptUnknown || (m_othersAbout.hasExpired() && !OthersWereAbout()))
        return true;
    return IsKeyShown(message);
}

bool Taskmill_ClientGate::IsKeyShown(QByteArrayView message) const
{
    return Taskmill_ShowsClientKey(message, m_key);
}

bool Taskmill_ClientGate::OthersWereAbout()
{
    if (m_environment.AreOthersAbout())
        m_othersAbout.setRemainingTime(m_environment.RememberFor, Qt::VeryCoarseTimer);
    return !m_othersAbout.hasExpired();
}
