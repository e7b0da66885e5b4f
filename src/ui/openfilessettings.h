// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

class QCheckBox;
class QComboBox;

/// The options of the Submit Jobs dialog in the user's settings.
namespace Taskmill_OpenFilesSettings {
/// Nothing when there is none, or it is no number.
[[nodiscard]] std::optional<int> Number(const QString &key);
void StoreNumber(const QString &key, int number);

/// Empty when there is none.
[[nodiscard]] QString Text(const QString &key);
void StoreText(const QString &key, const QString &text);

void Load(QCheckBox &box, const QString &key, bool byDefault);
void Store(const QCheckBox &box, const QString &key);

/// The index of what is chosen.
void LoadIndex(QComboBox &box, const QString &key, int byDefault);
void StoreIndex(const QComboBox &box, const QString &key);
} // namespace Taskmill_OpenFilesSettings
