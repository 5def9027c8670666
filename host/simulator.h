/// The simulated PLC in a process of its own, asked about its memory over its standard input and output.
#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QProcess>
#include <QtCore/QStringList>
#include <QtCore/QVector>

class Simulator {
public:
    ~Simulator();

    /// Starts the program and waits until it names its port. False, with what, where and what was expected, otherwise.
    bool start(const QString &program, const QStringList &arguments, QString *error);
    QString portPath() const { return port; }
    /// False, with error() set, when the process has ended.
    bool isRunning();

    /// Sends a command and returns the words behind "ok". Empty, with error() set, when it was refused or not answered.
    QStringList ask(const QString &command);
    QVector<int> registers(int station, int first, int count);
    QVector<int> coils(int station, int first, int count);
    /// What went wrong last; empty while nothing has.
    QString error() const { return lastError; }

private:
    // Ctrl-C reaches a whole process group at once; the PLC has to outlive the host's last request.
    class OwnGroupProcess : public QProcess {
    protected:
        void setupChildProcess() override;
    };

    QString readLine();
    QVector<int> numbers(const QString &command, int count);

    OwnGroupProcess process;
    QString port;
    QString lastError;
};
