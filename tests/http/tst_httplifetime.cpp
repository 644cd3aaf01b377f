// Tests that callers can abort, resend or delete a request at any time.

#include "faultserver.h"
#include "recordedrequest.h"

#include "table.h"

#include <QPointer>
#include <QRegularExpression>
#include <QTimer>

using namespace common::http;

class TestHttpLifetime : public QObject, private RecordedRequest
{
    Q_OBJECT

private Q_SLOTS:
    void init() { Renew(); }
    void actionInsideSignal_data();
    void actionInsideSignal();
    void sendInsideSend();
    void abortWithoutLoop();

public Q_SLOTS:
    void Act();

private:
    QString action;
    QUrl actionUrl;
};

void TestHttpLifetime::actionInsideSignal_data()
{
    const Table<QByteArray, Answer, bool, QString> row("signal", "answer", "aborted", "what");
    const auto rows = [row](const QByteArray& signal, const Answer& answer, bool aborted = false) {
        for (const char* what : {"abort", "send", "delete", "nested"}) {
            const QByteArray status = answer.bytes.mid(8, 4);
            row(what + (" in " + signal.mid(1)) + status + (aborted ? " aborted" : ""), signal, answer,
                aborted, what);
        }
    };
    const Answer ok{Response("200 OK", "body")};
    const Answer pieces{Response("206 Pieces", "body"), Answer::Close, 150};
    const Answer unfinished{ok.bytes.chopped(1), Answer::Hang};
    const QByteArray error = SIGNAL(requestError(int, QString, QByteArray));
    rows(SIGNAL(downloadProgress(qint64, qint64)), pieces);
    rows(SIGNAL(uploadProgress(qint64, qint64)), ok);
    rows(SIGNAL(replyFinished(const QNetworkReply*)), ok);
    rows(SIGNAL(requestFinishedWithBinaryData(QByteArray)), ok);
    rows(SIGNAL(requestFinished(QString)), ok);
    rows(error, {Response("429 Busy", "body")});
    rows(error, unfinished); // Times out.
    rows(SIGNAL(invalidOperationError(int, QString)), {Response("400 Bad", "body")});
    rows(SIGNAL(proxyError(int, QString)), {""});
    rows(error, unfinished, true); // The caller aborts the reply, not the request.
}

void TestHttpLifetime::Act()
{
    const QString what = std::exchange(action, QString());
    if (what.isEmpty()) {
        return;
    }
    events.clear();
    if (what == "abort") {
        request->Abort();
    } else if (what == "send") {
        manager->setProxy(QNetworkProxy::NoProxy);
        request->SetUrl(actionUrl);
        QVERIFY(request->Get());
    } else if (what == "delete") {
        request.reset();
    } else {
        QEventLoop loop;
        QTimer::singleShot(0, this, [this] { request.reset(); });
        QTimer::singleShot(20, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

void TestHttpLifetime::actionInsideSignal()
{
    QFETCH(QByteArray, signal);
    QFETCH(Answer, answer);
    QFETCH(bool, aborted);
    QFETCH(QString, what);

    FaultServer server({answer});
    FaultServer other({{Response("200 OK", "body")}});
    action = what;
    actionUrl = other.Url();
    request->SetUrl(signal.contains("proxy") ? QUrl("https://127.0.0.1:1/") : server.Url());
    // Set a short timeout only if it must expire: a busy machine may be silent for longer.
    request->SetTimeout(answer.ending == Answer::Hang && !aborted ? 1 : 30);
    manager->setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", server.serverPort()));
    QVERIFY(signal.contains("upload") ? request->Post() : request->Get());
    const QPointer<QNetworkReply> reply = request->Reply();
    connect(request.get(), signal.constData(), this, SLOT(Act()));
    QTest::failOnWarning(QRegularExpression("device not open"));
    if (aborted) {
        QTRY_VERIFY(reply->bytesAvailable() > 0);
        reply->abort();
    }
    QTRY_VERIFY_WITH_TIMEOUT(action.isEmpty(), 30000);
    QTRY_VERIFY(what == "abort" || reply.isNull());
    QTRY_COMPARE(request == nullptr, what == "delete" || what == "nested");
    QTRY_COMPARE(server.OpenConnections(), 0);
    QTRY_COMPARE(other.requests.size(), what == "send" ? 1 : 0);
    if (what == "send") {
        QTRY_COMPARE(Told(), success);
    } else if (what == "delete" || answer.interval > 0) {
        QCOMPARE(Told(), QString());
    }
}

// The manager calls a slot for each aborted reply, and the slot always sends again.
void TestHttpLifetime::sendInsideSend()
{
    FaultServer server({{"", Answer::Hang}});
    request->SetUrl(server.Url());
    QVERIFY(request->Get());
    connect(manager.get(), &QNetworkAccessManager::finished, this, [this] {
        if (request != nullptr) {
            request->Post();
        }
    });
    QVERIFY(request->Get());
    QCOMPARE(manager->findChildren<QNetworkReply*>(), QList<QNetworkReply*>{request->Reply()});
    QCOMPARE(request->Reply()->operation(), QNetworkAccessManager::PostOperation);
    IHttpRequest* const dying = request.get();
    disconnect(manager.get(), nullptr, this, nullptr);
    connect(manager.get(), &QNetworkAccessManager::finished, dying, [dying] { dying->Get(); });
    request.reset();
    QVERIFY(manager->findChildren<QNetworkReply*>().isEmpty());
}

// The replies are deleted even if no event loop runs, not even that of a QTest wait.
void TestHttpLifetime::abortWithoutLoop()
{
    FaultServer server({{"", Answer::Hang}});
    for (const bool receiverSends : {false, true}) {
        Renew();
        request->SetUrl(server.Url());
        if (receiverSends) {
            connect(request.get(), &IHttpRequest::requestError, request.get(), &IHttpRequest::Get);
        }
        QVERIFY(request->Get());
        for (int i = 0; i < 20; ++i) {
            request->Reply()->abort();
            QVERIFY(receiverSends || request->Get());
            QCoreApplication::processEvents();
        }
        QCoreApplication::processEvents();
        QCOMPARE(manager->findChildren<QNetworkReply*>().size(), 1);
    }
}

QTEST_GUILESS_MAIN(TestHttpLifetime)
#include "tst_httplifetime.moc"
