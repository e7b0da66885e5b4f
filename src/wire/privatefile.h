// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

/// Writes a file that only this user can read and write, in place of one of that name. False when it cannot
/// be written whole; what was there is left then.
[[nodiscard]] bool Taskmill_WritePrivateFile(const std::string &path, std::string_view text);

/// The content of a file of at most so many bytes that only this user can read and write. Empty when it is
/// longer, a link, or open to anybody else.
[[nodiscard]] std::string Taskmill_ReadPrivateFile(const std::string &path, std::size_t most);

/// Removes the file when it still holds that text.
void Taskmill_RemovePrivateFile(const std::string &path, std::string_view text);
