// SPDX-License-Identifier: MIT
#include "ui/textpage.h"

#include "viewer/textview.h"
#include "widgets/elidedlabel.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

Taskmill_TextPage::Taskmill_TextPage(QWidget *parent, std::unique_ptr<KilnUtil_TextSource> source,
                                     const QString &name, const QString &viewName)
    : Taskmill_DetailsPage{parent}
    , m_source{std::move(source)}
    , m_view{new KilnUtil_TextView{*m_source, this}}
    , m_caption{new KilnUtil_ElidedLabel{this}}
    , m_openViewer{new QPushButton{u"Open in Viewer"_s, this}}
{
    m_view->setAccessibleName(viewName);
    m_view->setFrameShape(QFrame::NoFrame);
    m_caption->setAccessibleName(name);
    m_openViewer->setToolTip(u"Show all of it in a window of its own"_s);
    connect(m_openViewer, &QPushButton::clicked, this, &Taskmill_TextPage::ViewSignal);
    auto *copy = new QAction{u"&Copy"_s, m_view};
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, [this] {
        if (const auto text = m_view->Selection().Text(); text && !text->isEmpty())
            QGuiApplication::clipboard()->setText(*text);
    });
    m_view->addAction(copy);
    m_view->setContextMenuPolicy(Qt::ActionsContextMenu);

    const int gap = fontMetrics().height() / 3;
    auto *heading = new QHBoxLayout;
    heading->setContentsMargins(2 * gap, gap, gap, gap);
    heading->addWidget(m_caption, 1);
    heading->addWidget(m_openViewer);
    auto *layout = new QVBoxLayout{this};
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addLayout(heading);
    layout->addWidget(m_view, 1);
    setFocusProxy(m_view);
}

Taskmill_TextPage::~Taskmill_TextPage()
{
    // The view reads the source, which goes before the children would.
    delete m_view;
}

QString Taskmill_TextPage::Caption() const
{
    return m_caption->text();
}

void Taskmill_TextPage::SetCaption(const QStringList &parts, bool hasText)
{
    const QString caption = parts.join(u"  ·  "_s);
    if (caption != m_caption->text())
        m_caption->SetText(caption);
    m_openViewer->setEnabled(hasText);
}
