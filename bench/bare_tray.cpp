// A program that has nothing but an icon in the tray: what the toolkit alone costs.
#include <QApplication>
#include <QPainter>
#include <QPixmap>
#include <QSystemTrayIcon>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QPixmap picture(22, 22);
    picture.fill(Qt::gray);
    QPainter(&picture).fillRect(6, 6, 10, 10, Qt::white);
    QSystemTrayIcon icon{QIcon(picture)};
    icon.show();
    return QApplication::exec();
}
