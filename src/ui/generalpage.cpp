// SPDX-License-Identifier: MIT
#include "ui/generalpage.h"

#include "manager/listings.h"
#include "manager/measuretext.h"
#include "ui/statusicon.h"
#include "widgets/contrast.h"

#include <QEvent>
#include <QScrollBar>
#include <QTextDocument>
#include <QTextEdit>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int markSize = 12; // that of a capital letter, about
constexpr int charactersOfGroup = 42;
const QUrl markUrl{u"mark:status"_s};

/// What stands side by side: headers of fields.
const QList<QStringList> &Groups()
{
    static const QList<QStringList> groups{
        {u"Status"_s, u"Queue"_s, u"Job Type"_s, u"Job ID"_s},
        {u"Submitted"_s, u"Started"_s, u"Finished"_s, u"Elapsed"_s},
        {u"Processor Time"_s, u"Peak Memory"_s, u"Exit Code"_s},
    };
    return groups;
}

/// What says nothing that the other fields do not.
bool IsLeftOut(const QString &header, const Taskmill_JobRecord &job)
{
    static const QStringList elsewhere{
        u"Name"_s, u"Result"_s, u"Result Line"_s, u"Program"_s, u"Optimization Steps"_s, u"Last Energy"_s};
    return elsewhere.contains(header) || (job.ClientName.isEmpty() && header.startsWith("Client"_L1));
}

/// Such as "Normal, xtb 6.6.1, 12 steps, -42.154321 hartree".
QString SummaryOf(const Taskmill_JobResult &result)
{
    QStringList parts{Taskmill_ResultText(result), (result.Program + u' ' + result.Version).trimmed()};
    if (result.Steps > 0)
        parts += result.Steps == 1 ? u"1 step"_s : u"%1 steps"_s.arg(result.Steps);
    if (!result.Energies.isEmpty())
        parts += u"%1 hartree"_s.arg(result.Energies.last(), 0, 'f', 6);
    return parts.join(u", "_s);
}

QString Escaped(const QString &text)
{
    return text.toHtmlEscaped().replace(u'\n', "<br>"_L1);
}

/// The text of the page, as HTML.
class Text
{
public:
    Text(const Taskmill_JobRecord &job, int groupsBeside, QString dimmed)
        : m_job{job}
        , m_groupsBeside{groupsBeside}
        , m_dimmed{std::move(dimmed)}
    {
    }

    [[nodiscard]] QString Html()
    {
        m_html =
            u"<p style='margin-left:2px; margin-bottom:4px'><b>%1</b></p><table cellspacing='0' cellpadding='2'>"_s
                .arg(Escaped(m_job.Name));
        AddWaitReason();
        AddResult();
        for (qsizetype first = 0; first < Groups().size(); first += m_groupsBeside)
            AddGroups(Groups().mid(first, m_groupsBeside));
        AddOthers();
        return m_html + "</table>"_L1;
    }

private:
    [[nodiscard]] QString NameCell(const QString &header) const
    {
        return u"<td style='color:%1; white-space:pre; padding-right:10px'>%2</td>"_s.arg(
            m_dimmed, header.toHtmlEscaped());
    }

    [[nodiscard]] QString ValueOf(const QString &header) const
    {
        const int field = static_cast<int>(m_headers.indexOf(header));
        const QString value = field < 0 ? QString{} : Escaped(m_fields.Text(m_job, field));
        return header == "Status"_L1 ? u"<img src='%1'> "_s.arg(markUrl.toString()) + value : value;
    }

    void AddRow(const QString &header, const QString &value)
    {
        m_html += u"<tr>%1<td colspan='%2'>%3</td></tr>"_s.arg(NameCell(header))
                      .arg(2 * m_groupsBeside - 1)
                      .arg(value);
    }

    /// Nothing else is asked as soon of a job that waits.
    void AddWaitReason()
    {
        const QString header = u"Waits Because"_s;
        const QString reason = ValueOf(header);
        m_shown += header;
        if (!reason.isEmpty())
            AddRow(header, reason);
    }

    void AddResult()
    {
        const Taskmill_JobResult &result = m_job.Result;
        if (!result.IsOfKnownProgram())
            return;
        AddRow(u"Result"_s, Escaped(SummaryOf(result)));
        if (!result.Message.isEmpty())
            AddRow(u"Line"_s, u"<code>%1</code>"_s.arg(Escaped(result.Message)));
    }

    /// One beside the other.
    void AddGroups(const QList<QStringList> &groups)
    {
        qsizetype rows = 0;
        for (const QStringList &group : groups)
            rows = qMax(rows, group.size());
        for (qsizetype row = 0; row < rows; ++row) {
            m_html += "<tr>"_L1;
            for (const QStringList &group : groups)
                AddCellsOf(group.value(row));
            m_html += "</tr>"_L1;
        }
    }

    void AddCellsOf(const QString &header)
    {
        m_shown += header;
        if (!m_headers.contains(header)) {
            m_html += "<td></td><td></td>"_L1;
            return;
        }
        const QString value = ValueOf(header);
        m_html += NameCell(header) + u"<td style='white-space:pre; padding-right:28px'>%1</td>"_s.arg(
                                         value.isEmpty() ? u"–"_s : value);
    }

    void AddOthers()
    {
        const QStringList first{u"Folder"_s, u"Command Line"_s, u"Input File"_s, u"Output File"_s};
        for (const QString &header : first + m_headers) {
            const QString value =
                m_shown.contains(header) || IsLeftOut(header, m_job) ? QString{} : ValueOf(header);
            if (!value.isEmpty())
                AddRow(header, value);
            m_shown += header;
        }
    }

    const Taskmill_JobRecord &m_job;
    const int m_groupsBeside;
    const QString m_dimmed; ///< colour of the names
    const Taskmill_Columns<Taskmill_JobRecord> &m_fields = Taskmill_Listings::JobFields();
    const QStringList m_headers = m_fields.Headers();
    QStringList m_shown;
    QString m_html;
};
} // namespace

Taskmill_GeneralPage::Taskmill_GeneralPage(QWidget *parent)
    : Taskmill_DetailsPage{parent}
    , m_text{new QTextEdit{this}}
{
    m_text->setReadOnly(true);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_text->setFrameShape(QFrame::NoFrame);
    m_text->setTabChangesFocus(true);
    m_text->setAccessibleName(u"Details of the job"_s);
    m_text->document()->setDocumentMargin(fontMetrics().height() / 2.0);
    auto *layout = new QVBoxLayout{this};
    layout->setContentsMargins({});
    layout->addWidget(m_text);
    setFocusProxy(m_text);
}

void Taskmill_GeneralPage::ShowJob(const Taskmill_ShownJob &job)
{
    const bool isSame = m_job && m_job->Is(job.Record);
    // What the user is about to copy stays.
    if (isSame && m_text->textCursor().hasSelection())
        return;
    m_job = job;
    const int place = isSame ? m_text->verticalScrollBar()->value() : 0;
    Update();
    m_text->verticalScrollBar()->setValue(place);
}

int Taskmill_GeneralPage::GroupsBeside() const
{
    const int room = m_text->viewport()->width() / (fontMetrics().averageCharWidth() * charactersOfGroup);
    return qBound(1, room, static_cast<int>(Groups().size()));
}

QString Taskmill_GeneralPage::Html() const
{
    return Text{m_job->Record, GroupsBeside(), KilnUtil_Contrast::PlaceholderColour(m_text->palette()).name()}
        .Html();
}

void Taskmill_GeneralPage::Update()
{
    if (!m_job)
        return;
    const QString html = Html();
    if (html == m_html)
        return;
    m_html = html;
    QTextDocument &document = *m_text->document();
    document.clear();
    document.addResource(QTextDocument::ImageResource, markUrl,
                         Taskmill_StatusIcon(m_job->Record.Status, m_job->Record.Result.Verdict)
                             .pixmap(QSize{markSize, markSize}, devicePixelRatioF()));
    m_text->setHtml(html);
}

void Taskmill_GeneralPage::resizeEvent(QResizeEvent *event)
{
    Taskmill_DetailsPage::resizeEvent(event);
    Update();
}

void Taskmill_GeneralPage::changeEvent(QEvent *event)
{
    Taskmill_DetailsPage::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)
        Update();
}
