// A window from which a file can be dragged: xdndsource X Y FILE
//
// Stands at X, Y of the screen, 120 pixels square. A drag begins with a press of the left button in it.
// Prints "accepted" when what is under the pointer would take the file, and at the end "dropped" or
// "refused". It stays, because the other side fetches the file's name only after that.

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <QWidget>

#include <cstdio>

namespace
{
void Say(const char* Word)
{
    std::puts(Word);
    std::fflush(stdout);
}

class Source : public QWidget
{
public:
    explicit Source(QString NewPath)
        : Path(std::move(NewPath))
    {
    }

protected:
    void mouseMoveEvent(QMouseEvent* /*pEvent*/) override
    {
        if (bDragging)
        {
            return;
        }
        bDragging = true;
        auto* const drag = new QDrag(this);
        auto* const carried = new QMimeData;
        carried->setUrls({QUrl::fromLocalFile(Path)});
        drag->setMimeData(carried);
        connect(drag, &QDrag::actionChanged, this,
                [](Qt::DropAction action)
                {
                    if (action != Qt::IgnoreAction)
                    {
                        Say("accepted");
                    }
                });
        Say(drag->exec(Qt::CopyAction) == Qt::CopyAction ? "dropped" : "refused");
    }

private:
    QString Path;
    bool bDragging = false;
};
} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 4)
    {
        std::fputs("xdndsource X Y FILE\n", stderr);
        return 2;
    }
    Source source(arguments[3]);
    source.setWindowTitle("xdndsource");
    source.setGeometry(arguments[1].toInt(), arguments[2].toInt(), 120, 120);
    source.show();
    return QApplication::exec();
}
