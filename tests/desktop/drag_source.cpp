// A window from which files are dragged into another program: press and move the mouse in it.
#include <QtWidgets>

namespace {

class DRAG_SOURCE : public QLabel {
 public:
  explicit DRAG_SOURCE(const QStringList& files) : QLabel("Files"), m_Files(files) {
    setWindowTitle("Drag source");
    setAlignment(Qt::AlignCenter);
    setGeometry(QGuiApplication::primaryScreen()->geometry().right() - 120, 20, 100, 60);
  }

 protected:
  void mouseMoveEvent(QMouseEvent*) override {
    QList<QUrl> urls;
    for (const QString& file : m_Files) {
      urls.append(QUrl::fromLocalFile(file));
    }
    auto* pMime = new QMimeData;
    pMime->setUrls(urls);
    auto* pDrag = new QDrag(this);
    pDrag->setMimeData(pMime);
    // The data go when the other program has taken them, which is after the end of the drag.
    connect(pMime, &QObject::destroyed, qApp, &QCoreApplication::quit);
    pDrag->exec(Qt::CopyAction);
  }

 private:
  QStringList m_Files;
};

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  DRAG_SOURCE source(app.arguments().mid(1));
  source.setWindowFlag(Qt::WindowStaysOnTopHint);
  source.show();
  return QApplication::exec();
}
