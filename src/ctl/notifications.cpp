// SPDX-License-Identifier: MIT
#include "ctl/notifications.h"

#include "wire/peeruser.h"
#include "wire/utf8.h"

#include <utility>

namespace {
constexpr std::size_t longestMessage = 1'048'576;
constexpr std::size_t mostConnections = 500;
} // namespace

Taskmill_CtlNotification Taskmill_CtlNotification::Parse(std::string_view bytes)
{
    Taskmill_CtlNotification notification;
    const std::string text = Taskmill_Utf8FromAny(bytes);
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        const std::size_t equals = line.find('=');
        if (equals != std::string::npos && equals > 0) {
            notification.Text += line + '\n';
            notification.Values[line.substr(0, equals)] = line.substr(equals + 1);
        }
        begin = end + 1;
    }
    return notification;
}

std::string Taskmill_CtlNotification::Value(const std::string &key) const
{
    const auto value = Values.find(key);
    return value == Values.end() ? std::string{} : value->second;
}

bool Taskmill_CtlNotifications::Listen()
{
    m_server = Taskmill_Socket::Listen();
    return m_server.IsOpen();
}

std::vector<Taskmill_Socket::Handle> Taskmill_CtlNotifications::Handles() const
{
    std::vector<Taskmill_Socket::Handle> handles;
    if (m_server.IsOpen())
        handles.push_back(m_server.Get());
    for (const Connection &connection : m_connections)
        handles.push_back(connection.socket.Get());
    return handles;
}

bool Taskmill_CtlNotifications::TakeConnections()
{
    while (m_server.IsOpen() && m_connections.size() < mostConnections) {
        Taskmill_Socket socket = m_server.Accept();
        if (!socket.IsOpen())
            return true;
        // The port is open to everybody on this computer.
        if (Taskmill_UserOfPeer(socket.Get()) != Taskmill_PeerUser::Other)
            m_connections.push_back({.socket = std::move(socket), .bytes = {}});
    }
    return !m_server.IsOpen();
}

std::vector<Taskmill_CtlNotification> Taskmill_CtlNotifications::Take()
{
    std::vector<Taskmill_CtlNotification> whole;
    while (!TakeConnections()) {
        // What has come is read before one that says nothing has to make room.
        if (!Read(whole))
            m_connections.erase(m_connections.begin());
    }
    (void)Read(whole);
    return whole;
}

bool Taskmill_CtlNotifications::Read(std::vector<Taskmill_CtlNotification> &whole)
{
    return std::erase_if(m_connections, [&whole](Connection &connection) {
               const auto state = connection.socket.Receive(connection.bytes, longestMessage);
               if (state == Taskmill_Socket::State::Open)
                   return connection.bytes.size() == longestMessage;
               auto notification = Taskmill_CtlNotification::Parse(connection.bytes);
               if (notification.Value("action") == "jobfinished")
                   whole.push_back(std::move(notification));
               return true;
           }) > 0;
}
