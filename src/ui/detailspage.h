// SPDX-License-Identifier: MIT
#pragma once

#include "ui/shownjob.h"

#include <QWidget>

/// One of the pages of the details. It is given a job only while it is seen.
class Taskmill_DetailsPage : public QWidget
{
public:
    using QWidget::QWidget;

    /// The job is another one, or the same as it is now.
    virtual void ShowJob(const Taskmill_ShownJob &job) = 0;
    /// The page is not seen any more: nothing is to be read for it.
    virtual void Rest() {}
};
