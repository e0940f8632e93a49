#include <QtCore/QCoreApplication>

#include <cstdio>

// A process with an application object, until its input ends.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    return std::getchar() == EOF ? 0 : 1;
}
