#include <QtCore/QCoreApplication>
#include <QtNetwork/QLocalSocket>

// bareEcho NAME: connects to a local socket and sends back what comes.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QLocalSocket socket;
    socket.connectToServer(QCoreApplication::arguments().value(1));
    while (socket.bytesAvailable() > 0 || socket.waitForReadyRead(-1)) {
        socket.write(socket.readAll());
        socket.flush();
    }
    return 0;
}
