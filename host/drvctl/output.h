#ifndef DRVCTL_OUTPUT_H
#define DRVCTL_OUTPUT_H

#include <QJsonObject>
#include <QString>

// Where results and failures go: text for people, one JSON object per line for scripts.
class Output {
public:
    explicit Output(bool json) : jsonMode(json) {}
    bool json() const { return jsonMode; }

    // A result: the JSON object in JSON mode, the text otherwise (a line each).
    void result(const QJsonObject& object, const QString& text) const;
    // A failure with the exit status it leads to; returns that status.
    int failure(const QString& message, int exitCode) const;
    // A bad command line: text with a pointer to the command's help on stderr, or
    // in JSON mode the failure object with exit status 2; returns 2.
    int usage(const QString& message, const QString& command) const;
    void note(const QString& text) const; // stderr, text mode only
    // The two halves of result(), for a caller that builds only the form asked for.
    void object(const QJsonObject& object) const;
    void line(const QString& text) const; // also a line already in JSON


private:
    bool jsonMode;
};

// "cannot write the output: No space left on device" once stdout refused a line
// (a full disk, a closed pipe), else empty.
QString outputFailure();

#endif
