// Writes drvctl's manual page and bash completion from its command table, at
// build time: drvctl_docs MANUAL_PAGE BASH_COMPLETION
#include "drvctl/docs/bash_completion.h"
#include "drvctl/docs/command_reference.h"
#include "drvctl/docs/manual_page.h"

#include <QFile>
#include <cstdio>

namespace {

bool write(const char* path, const QString& text)
{
    QFile file(QString::fromLocal8Bit(path));
    const QByteArray bytes = text.toUtf8();
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size() && file.flush())
        return true;
    std::fprintf(stderr, "drvctl_docs: cannot write %s: %s\n", path, qPrintable(file.errorString()));
    return false;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: drvctl_docs MANUAL_PAGE BASH_COMPLETION\n");
        return 2;
    }
    const DrvctlReference reference = drvctlReference();
    const bool written = write(argv[1], manualPage(reference, QStringLiteral(DRVCTL_VERSION), QStringLiteral(DRVCTL_PLUGIN_PATH)))
                         && write(argv[2], bashCompletion(reference));
    return written ? 0 : 1;
}
