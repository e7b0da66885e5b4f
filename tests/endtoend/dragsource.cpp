// Stands in for a file manager in tests: shows a label; dragging it drags the files that are its arguments.
// The label's text tells how far the drag has come.

#include <QApplication>
#include <QDrag>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {
class DragLabel : public QLabel
{
public:
    explicit DragLabel(QList<QUrl> files)
        : m_files{std::move(files)}
    {
        Show(u"drag me"_s);
        setAlignment(Qt::AlignCenter);
        setGeometry(20, 20, 200, 100);
    }

protected:
    void mousePressEvent(QMouseEvent *) override { Show(u"pressed"_s); }

    void mouseMoveEvent(QMouseEvent *event) override
    {
        if (!event->buttons().testFlag(Qt::LeftButton))
            return;
        auto *drag = new QDrag{this};
        auto *data = new QMimeData;
        data->setUrls(m_files);
        drag->setMimeData(data);
        QObject::connect(drag, &QDrag::actionChanged, this, [this](Qt::DropAction action) {
            Show(action == Qt::IgnoreAction ? u"dragging"_s : u"accepted"_s);
        });
        Show(u"dragging"_s);
        const Qt::DropAction action = drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::CopyAction);
        Show(action == Qt::CopyAction ? u"dropped"_s : u"refused"_s);
    }

private:
    void Show(const QString &text)
    {
        setText(text);
        setAccessibleName(text);
    }

    const QList<QUrl> m_files;
};
} // namespace

int main(int argc, char **argv)
{
    QApplication application{argc, argv};
    QList<QUrl> files;
    for (const QString &path : QCoreApplication::arguments().mid(1))
        files.append(QUrl::fromLocalFile(path));
    DragLabel label{files};
    label.show();
    return QApplication::exec();
}
