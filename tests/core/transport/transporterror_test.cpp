#include "transport/transporterror.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>

TEST(TransportError, EnglishTexts)
{
    const std::pair<TransportError, const char *> cases[] = {
        {TransportError::connectionFailed("no adapter"), "Connection failed: no adapter"},
        {TransportError::openFailed("/dev/ttyUSB0", "Permission denied", EACCES),
         "Could not open /dev/ttyUSB0: Permission denied"},
        {TransportError::configurationFailed("Inappropriate ioctl for device", ENOTTY),
         "Could not configure the port: Inappropriate ioctl for device"},
        {TransportError::writeFailed("Input/output error", EIO), "Send error: Input/output error"},
        {TransportError::notConnected(), "No port connection"},
        {TransportError::waitFailed(), "Send error: waiting for the port"},
        {TransportError::receiveTimeout(),
         "Timed out waiting for the machine to receive (is it in receive mode? "
         "are the cable and flow control correct?)"},
        {TransportError::drainTimeout(),
         "Timed out waiting for the machine to receive the end of the program"},
        {TransportError::cancelled(), "Transfer Cancelled"},
    };
    for (const auto &[error, text] : cases) {
        EXPECT_EQ(error.description(AppLanguage::english), QString::fromUtf8(text));
    }
}

TEST(TransportError, SpanishKeepsThePayload)
{
    const TransportError open =
        TransportError::openFailed("/dev/ttyACM0", "No such file or directory", ENOENT);
    const QString spanish = open.description(AppLanguage::spanish);
    EXPECT_TRUE(spanish.contains("/dev/ttyACM0")) << spanish.toStdString();
    EXPECT_TRUE(spanish.contains("No such file or directory")) << spanish.toStdString();
    EXPECT_FALSE(spanish.contains("%@"));
}

TEST(TransportError, PermissionHintOnlyForRefusedOpens)
{
    EXPECT_FALSE(TransportError::openFailed("/dev/ttyUSB0", "Permission denied", EACCES)
                     .hint(AppLanguage::english)
                     .isEmpty());
    EXPECT_TRUE(TransportError::openFailed("/dev/ttyUSB0", "x", ENOENT).hint(AppLanguage::english).isEmpty());
    EXPECT_TRUE(TransportError::writeFailed("x", EACCES).hint(AppLanguage::english).isEmpty());
}

TEST(TransportError, AccessHintOnlyForADeviceThisUserMayNotUse)
{
    QTemporaryDir dir;
    const QString device = dir.filePath("ttyUSB7");
    EXPECT_TRUE(TransportError::accessHint(device, AppLanguage::english).isEmpty()) << "missing device";
    QFile file(device);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    EXPECT_TRUE(TransportError::accessHint(device, AppLanguage::english).isEmpty()) << "usable device";
    ASSERT_TRUE(QFile::setPermissions(device, QFileDevice::Permissions()));
    if (::geteuid() == 0) {
        GTEST_SKIP() << "root may open any device";
    }
    EXPECT_TRUE(TransportError::accessHint(device, AppLanguage::english).contains("dialout"));
}
