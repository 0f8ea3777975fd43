// The peer of the start: a window with nothing in it.

#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QMainWindow window;
    window.resize(1200, 800);
    window.show();
    return QApplication::exec();
}
