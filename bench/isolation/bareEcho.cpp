#include <QtCore/QCoreApplication>
#include <QtNetwork/QLocalSocket>

// bareEcho NAME: connects to a local socket and sends back what comes; without a name it only is a process with an
// application object, until its input ends.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc < 2)
        return std::getchar() == EOF ? 0 : 1;
    QLocalSocket socket;
    socket.connectToServer(QString::fromLocal8Bit(argv[1]));
    while (socket.bytesAvailable() > 0 || socket.waitForReadyRead(-1)) {
        socket.write(socket.readAll());
        socket.flush();
    }
    return 0;
}
