// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_FAKESERVICE_H
#define KIV_TESTS_FAKESERVICE_H

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QHash>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QThread>
#include <QVector>

namespace KivTest {

const QString kServiceName = "com.quorvantel.service.AudioManagement";
const QString kHmiPath = "/com/kiv/service/AudioManagement/HmiMode";
const QString kAppPath = "/com/kiv/service/AudioManagement/AudioApplication";
const QString kInterfaceName = "com.quorvantel.ServiceProvider";

/** A request as the service received it. */
struct ServiceCall
{
    QString path;
    QString methodName;
    QString arguments;
    QString sender;
};

class FakeServiceObject;

/**
 * A scripted service on the private bus, with a connection and a thread of its own, as a blocking client needs it.
 *
 * Every method may be called from the test's thread.
 */
class FakeService
{
public:
    /** Connects to the bus; the service is not there before Appear(). */
    FakeService();

    /** Leaves the bus. */
    ~FakeService();

    FakeService(const FakeService&) = delete;
    FakeService& operator=(const FakeService&) = delete;

    /** Takes the service's bus name. */
    void Appear();

    /** Likewise, and lets another service take the name over. */
    void AppearReplaceable();

    /** Takes the service's bus name from a replaceable service, without a gap. */
    void TakeOver();

    /** Gives it back. */
    void Leave();

    /** The unique bus name of the service's connection. */
    QString UniqueName() const;

    /** Answers later requests of a method with a text; "{}" is the answer of methods without one. */
    void Answer(const QString& methodName, const QString& text);

    /** Answers later requests of a method with a D-Bus error. */
    void Fail(const QString& methodName, const QString& errorName, const QString& errorText);

    /** Answers later requests of a method with a list of texts where one text is due. */
    void AnswerWithWrongSignature(const QString& methodName);

    /** Keeps back the answers to later requests of a method, until Release(). */
    void Hold(const QString& methodName);

    /** Sends the answers that were kept back, as planned now. */
    void Release(const QString& methodName);

    /** The requests so far, in order. */
    QVector<ServiceCall> Calls() const;

    /** The argument texts of the requests of one method so far. */
    QStringList ArgumentsOf(const QString& methodName) const;

    /** Waits, with the event loop running, until a method was requested a number of times. */
    bool WaitForCalls(const QString& methodName, int count) const;

    /** Broadcasts the signal "Notify" from one of the service's objects. */
    void Notify(const QString& path, const QString& signalName, const QString& payload);

    /**
     * Calls a client and waits for its answer, with the event loop running.
     *
     * @return the answer; an error message when there was none.
     */
    QDBusMessage CallClient(const QString& busName, const QString& objectPath, const QString& methodName,
                            const QString& arguments);

private:
    QThread m_Thread;
    QDBusConnection m_Connection;
    FakeServiceObject* m_Hmi;
    FakeServiceObject* m_App;

    friend class FakeServiceObject;

    enum class Kind
    {
        Text,
        Error,
        WrongSignature
    };

    struct Planned
    {
        Kind kind = Kind::Text;
        QString text = "{}";
        QString errorName;
        bool isHeld = false;
    };

    void Plan(const QString& methodName, Kind kind, const QString& text, const QString& errorName);
    QDBusMessage ReplyTo(const QDBusMessage& call) const;
    bool Receive(const QDBusMessage& call);

    mutable QMutex m_Lock;
    QHash<QString, Planned> m_Plans;
    QVector<ServiceCall> m_Calls;
    QVector<QDBusMessage> m_Held;
};

/** One object of the fake service. */
class FakeServiceObject : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorvantel.ServiceProvider")

public:
    explicit FakeServiceObject(FakeService& service);

public Q_SLOTS:
    Q_SCRIPTABLE QString Request(const QString& methodName, const QString& arguments);

private:
    FakeService& m_Service;
};

} // namespace KivTest

#endif // KIV_TESTS_FAKESERVICE_H
