// What a Qt program takes that does nothing.
#include <QtCore/QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    return QCoreApplication::exec();
}
