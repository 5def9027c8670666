// What a Qt program takes that does nothing.
#include <QtCore/QCoreApplication>

#include <csignal>
#include <sys/prctl.h>

int main(int argc, char **argv)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    QCoreApplication application(argc, argv);
    return QCoreApplication::exec();
}
