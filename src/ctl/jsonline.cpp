// SPDX-License-Identifier: MIT
#include "ctl/jsonline.h"

#include <algorithm>

namespace {
/// The text behind a quotation mark, which is removed as the one at its end is. Characters beyond ASCII stand
/// in the manager's JSON as they are, so that only control characters have numbers: they are left out.
std::string TakeText(std::string_view &json)
{
    constexpr std::size_t lengthOfNumber = 4;
    std::string text;
    json.remove_prefix(1);
    while (!json.empty() && json.front() != '"') {
        if (json.front() == '\\' && json.size() > 1) {
            json.remove_prefix(1);
            if (json.front() == 'u')
                json.remove_prefix(std::min(lengthOfNumber, json.size() - 1));
            else if (json.front() == '"' || json.front() == '\\' || json.front() == '/')
                text += json.front();
        } else {
            text += json.front();
        }
        json.remove_prefix(1);
    }
    json.remove_prefix(std::min<std::size_t>(1, json.size()));
    return text;
}

std::string TakeWord(std::string_view &json)
{
    const std::size_t end = std::min(json.find_first_of(",]}"), json.size());
    std::string word{json.substr(0, end)};
    json.remove_prefix(end);
    return word;
}
} // namespace

std::string Taskmill_JsonField(std::string_view object, std::string_view key)
{
    int depth = 0;
    while (!object.empty()) {
        const char next = object.front();
        if (next != '"') {
            depth += (next == '{' || next == '[') ? 1 : 0;
            depth -= (next == '}' || next == ']') ? 1 : 0;
            object.remove_prefix(1);
            continue;
        }
        const std::string text = TakeText(object);
        if (depth != 1 || text != key || !object.starts_with(':'))
            continue;
        object.remove_prefix(1);
        return object.starts_with('"') ? TakeText(object) : TakeWord(object);
    }
    return {};
}
