// SPDX-License-Identifier: MIT
#include "wire/keepermessage.h"

#include <charconv>
#include <functional>

namespace {
/// Calls visit(name, value) for each pair until it returns false.
void ForEachValue(std::string_view bytes,
                  const std::function<bool(std::string_view name, std::string_view value)> &visit)
{
    const auto next = [&bytes] {
        const std::size_t end = bytes.find('\0');
        const std::string_view text = bytes.substr(0, end);
        bytes.remove_prefix(end + 1);
        return text;
    };
    next();
    while (!bytes.empty()) {
        const std::string_view name = next();
        if (!visit(name, next()))
            return;
    }
}
} // namespace

Taskmill_KeeperMessage::Taskmill_KeeperMessage(std::string_view word)
    : m_bytes{word}
{
    m_bytes += '\0';
}

std::optional<Taskmill_KeeperMessage> Taskmill_KeeperMessage::FromBytes(std::string bytes)
{
    std::size_t texts = 0;
    for (const char one : bytes)
        texts += one == '\0' ? 1 : 0;
    // A word, and each name with a value.
    if (!bytes.ends_with('\0') || texts % 2 == 0)
        return std::nullopt;
    Taskmill_KeeperMessage message{{}};
    message.m_bytes = std::move(bytes);
    return message;
}

void Taskmill_KeeperMessage::Add(std::string_view name, std::string_view value)
{
    m_bytes.append(name).append(1, '\0').append(value.substr(0, value.find('\0'))).append(1, '\0');
}

void Taskmill_KeeperMessage::Add(std::string_view name, long long value)
{
    Add(name, std::to_string(value));
}

std::string_view Taskmill_KeeperMessage::Word() const
{
    return m_bytes.c_str();
}

std::string_view Taskmill_KeeperMessage::Value(std::string_view name) const
{
    std::string_view found;
    ForEachValue(m_bytes, [&](std::string_view one, std::string_view value) {
        if (one != name)
            return true;
        found = value;
        return false;
    });
    return found;
}

long long Taskmill_KeeperMessage::Number(std::string_view name, long long otherwise) const
{
    const std::string_view text = Value(name);
    long long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() && !text.empty() ? number : otherwise;
}

std::vector<const char *> Taskmill_KeeperMessage::Values(std::string_view name) const
{
    std::vector<const char *> values;
    ForEachValue(m_bytes, [&](std::string_view one, std::string_view value) {
        if (one == name)
            values.push_back(value.data());
        return true;
    });
    return values;
}
