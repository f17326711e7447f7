#ifndef READ_CASE_H
#define READ_CASE_H

#include <QByteArray>
#include <QList>
#include <QString>
#include <functional>
#include <gtest/gtest.h>
#include <ostream>

#include "support/scripted_port.h"
#include "testable_driver.h"

// One read operation against the scripted port, judged wire-exact: the frame
// sent, the lengths asked of receive, the data returned and the error text.
struct ReadCase {
    const char* name;
    std::function<QByteArray(TestableDriver&, ScriptedPort&)> operation;
    QList<QByteArray> replies;  // one chunk per entry; an empty entry is silence
    QByteArray sent;            // empty: nothing may be sent
    QList<int> receives;
    QByteArray result;
    const char* error;          // empty: no error may be set
    int stationId = 1;          // what the port reports
};

inline void PrintTo(const ReadCase& c, std::ostream* os) { *os << c.name; }

inline void runReadCase(const ReadCase& c)
{
    TestableDriver driver;
    ScriptedPort port;
    port.setStationId(c.stationId);
    for (const QByteArray& chunk : c.replies) {
        if (chunk.isEmpty())
            port.queueSilence();
        else
            port.queueBytes(chunk);
    }

    const QByteArray result = c.operation(driver, port);

    const QList<QByteArray> expectedFrames =
        c.sent.isEmpty() ? QList<QByteArray>() : QList<QByteArray>{c.sent};
    QStringList sent;
    for (const QByteArray& frame : port.sentFrames())
        sent << QString::fromLatin1(frame.toHex(' '));
    EXPECT_EQ(port.sentFrames(), expectedFrames) << sent.join(QStringLiteral(" | ")).toStdString();
    EXPECT_EQ(port.receiveRequests(), c.receives);
    EXPECT_EQ(result.toHex(' ').toStdString(), c.result.toHex(' ').toStdString());
    EXPECT_EQ(driver.hasError(), c.error[0] != '\0');
    EXPECT_EQ(driver.getLastError().toStdString(), std::string(c.error));
}

inline std::string readCaseName(const testing::TestParamInfo<ReadCase>& info)
{
    return info.param.name;
}

#endif
