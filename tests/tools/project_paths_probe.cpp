// Prints the project directory and the database file as seen from wherever this program lies, one per line,
// so that tests can lay out directories around a copy of it.
#include <QCoreApplication>
#include <cstdio>
#include "tools/project_database.h"

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    std::printf("%s\n%s\n", qPrintable(GetCompilePath().absolutePath()), qPrintable(GetDatabaseName()));
}
