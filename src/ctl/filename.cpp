// SPDX-License-Identifier: MIT
#include "ctl/filename.h"

#include "wire/utf8.h"

#include <system_error>

std::filesystem::path Taskmill_PathOf(const std::string &utf8)
{
    return {std::u8string{utf8.begin(), utf8.end()}};
}

std::string Taskmill_AbsolutePath(const std::string &given)
{
    std::error_code error;
    const std::u8string path =
        std::filesystem::absolute(Taskmill_PathOf(given), error).lexically_normal().generic_u8string();
    return {path.begin(), path.end()};
}

bool Taskmill_HasLineBreak(std::string_view text)
{
    // The manager takes a carriage return before the line feed for a part of the line's end.
    return text.find_first_of("\n\r") != std::string_view::npos;
}

std::string Taskmill_ProblemOfFileName(const std::string &given, const std::string &path)
{
    if (given.empty())
        return "a file name is empty";
    if (path.empty())
        return "the directory of " + given + " is gone";
    if (Taskmill_HasLineBreak(path))
        return "a file name with a line feed cannot be sent: " + given;
    if (Taskmill_EndsWithBlank(path))
        return "a file name that ends with a blank cannot be sent: " + given;
    return Taskmill_IsUtf8(path) ? "" : "a file name that is not UTF-8 cannot be sent: " + given;
}
