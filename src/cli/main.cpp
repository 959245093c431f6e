// varn: the command-line face of the core, for scripts and shop-floor PCs.
#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTextStream(stdout) << "varn\n";
    return 0;
}
