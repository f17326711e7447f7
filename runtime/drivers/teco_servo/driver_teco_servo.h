#ifndef DRIVER_TECO_SERVO_H
#define DRIVER_TECO_SERVO_H

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QVector>

#include "interface/abstract_device_interface.h"
#include "interface/driver_interface.h"
#include "teco_servo/reply_buffer.h"

// The driver for TECO servo drives, Modbus RTU slaves on a serial line.
//
// Operations report failure by value: reads return an empty array, writes
// false, after setCommError. None of them retries; read() and write() do.
class DriverTecoServo : public QObject, public DriverInterface {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID DriverInterface_iid)
    Q_INTERFACES(DriverInterface)

public:
    DriverTecoServo();
    ~DriverTecoServo() override;

    // DriverInterface
    int totalSize() override;
    bool write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
               const QByteArray& data) override;
    QByteArray read(AbstractDeviceInterface* port, const CommunicatorCommand& command) override;
    bool initialize(AbstractDeviceInterface* port) override;
    int validation(const QString& text) override;
    QString name() override;
    QString vender() override;
    QString getVersionNumber() override;
    DeviceSetting* getDefaultSerialDeviceSetting() override;
    DriverSetting* getDefaultDriverSetting() override;
    QString getStringBasedDefaultDriverSetting() override;
    int supportedCommunicationFlags() override;
    void setDebugMode(bool on) override;
    int getBlockAccessSize() override;
    int getBitBlockAccessSize() override;
    bool hasError() override;
    QString getLastError() override;
    QObject* getThisObject() override;

    // Error state of the current command.
    void setCommError(const QString& text);
    void clearError();
    void appendCmdToReadCommError(unsigned char station, const CommunicatorCommand& command);
    void appendCmdToWriteCommError(unsigned char station, const CommunicatorCommand& command);

    // Judges the first 5 bytes of every reply.
    bool checkMinADU(unsigned char slave, const char* buffer, int received);
    bool checkException(const char* buffer, unsigned char function);

    // Register reads (function 3 for HR/FN6HR areas, 4 otherwise).
    QByteArray readWords(AbstractDeviceInterface* port, const QByteArray& prefix,
                         unsigned short address, int count);
    // Explicit station, reply accepted without a CRC check.
    QByteArray readWords(AbstractDeviceInterface* port, const QByteArray& prefix,
                         unsigned short address, int count, unsigned char station);
    QByteArray readDWords(AbstractDeviceInterface* port, const QByteArray& prefix,
                          unsigned short address, int count, bool highWordFirst);
    QByteArray readBytes(AbstractDeviceInterface* port, const QByteArray& prefix,
                         unsigned short address, int count);
    QByteArray readSpecialHRWords(AbstractDeviceInterface* port, unsigned short address, int count);

    // Bit reads.
    QByteArray readDIDOs(AbstractDeviceInterface* port, const QByteArray& prefix,
                         unsigned short address, int count);
    QByteArray readIRHRbits(AbstractDeviceInterface* port, const QByteArray& prefix,
                            unsigned short address, unsigned char bit, int count);
    QByteArray readBits(AbstractDeviceInterface* port, const CommunicatorCommand& command);

    // Coil writes.
    bool writeCoils(AbstractDeviceInterface* port, unsigned short address, const QByteArray& data);
    bool writeCoilsWithFN5(AbstractDeviceInterface* port, unsigned short address,
                           const QByteArray& data);

    // Register writes with function 16.
    bool writeWords(AbstractDeviceInterface* port, unsigned short address, const QByteArray& data);
    bool writeWords(AbstractDeviceInterface* port, unsigned short address, const QByteArray& data,
                    unsigned char station);
    bool writeBytes(AbstractDeviceInterface* port, unsigned short address, const QByteArray& data);
    bool writeDWords(AbstractDeviceInterface* port, unsigned short address, const QByteArray& data,
                     bool highWordFirst);
    bool writeSpecialHRWords(AbstractDeviceInterface* port, unsigned short address,
                             const QByteArray& data, int& progress);

    // Register writes with function 6, one transaction per register.
    bool writeWordWithFN6(AbstractDeviceInterface* port, unsigned short address,
                          const QByteArray& data);
    bool writeWordWithFN6(AbstractDeviceInterface* port, unsigned short address,
                          const QByteArray& data, unsigned char station);
    bool writeWordsWithFN6(AbstractDeviceInterface* port, unsigned short address,
                           const QByteArray& data);
    bool writeWordsWithFN6(AbstractDeviceInterface* port, unsigned short address,
                           const QByteArray& data, unsigned char station);
    bool writeBytesWithFN6(AbstractDeviceInterface* port, unsigned short address,
                           const QByteArray& data);
    bool writeDWordsWithFN6(AbstractDeviceInterface* port, unsigned short address,
                            const QByteArray& data, bool highWordFirst);
    bool writeSpecialFN6HRWords(AbstractDeviceInterface* port, unsigned short address,
                                const QByteArray& data, int& progress);

    // Register-bit writes by read-modify-write.
    bool writeHRbit(AbstractDeviceInterface* port, unsigned short address, unsigned char bit,
                    const QByteArray& data);
    bool writeHRbit(AbstractDeviceInterface* port, unsigned short address, unsigned char bit,
                    const QByteArray& data, unsigned char station);
    bool writeHRbitWithFN6(AbstractDeviceInterface* port, unsigned short address,
                           unsigned char bit, const QByteArray& data);
    bool writeHRbitWithFN6(AbstractDeviceInterface* port, unsigned short address,
                           unsigned char bit, const QByteArray& data, unsigned char station);
    bool writeSpecialHRbit(AbstractDeviceInterface* port, unsigned short address,
                           unsigned char bit, const QByteArray& data, int& progress);
    bool writeSpecialFN6HRbit(AbstractDeviceInterface* port, unsigned short address,
                              unsigned char bit, const QByteArray& data, int& progress);

protected:
    // The one request/reply exchange of every transaction: setOption(12, 0), send,
    // zero the buffer, receive 5, checkMinADU, checkException, receive the rest of
    // the reply length that the request implies, then (unless told not to) the CRC
    // over the whole reply. On success the whole reply lies in `reply` from byte 0.
    enum CrcCheck { VerifyCrc, SkipCrc };
    bool exchange(AbstractDeviceInterface* port, const QByteArray& request, ReplyBuffer& reply,
                  CrcCheck crcCheck = VerifyCrc);
    // The port's station id as a slave address, or -1 after "invalid slave id:%d".
    int stationFromPort(AbstractDeviceInterface* port);

    // Read-path helpers
    // One read transaction with function 1 to 4: the slave is `station`, or the
    // port's when it is negative; the data of the reply start at byte 3.
    bool readDevices(AbstractDeviceInterface* port, int station, unsigned char function,
                     unsigned short address, unsigned short quantity, CrcCheck crcCheck,
                     ReplyBuffer& reply);
    // The bounded register read behind readWords, readDWords and readBytes: 1 to
    // 125 registers from the area of prefix, the last one at most 65535, else
    // false after "can't read any <unit> from <prefix><address + 1>".
    bool readRegisterImage(AbstractDeviceInterface* port, const QByteArray& prefix,
                           unsigned short address, long long registers, const char* unit,
                           int station, CrcCheck crcCheck, ReplyBuffer& reply);

    // Write-path helpers
    // Station argument of the shared write bodies: a slave id, or ask the port.
    static const int StationFromPort = -1;
    // The register-count bound of every function-16 and function-6 write: at most
    // 123 registers, the last one at most 65535; otherwise false after
    // "can't write any <unit> to HR<address + 1>".
    bool registerWriteFits(unsigned short address, int registers, const char* unit);
    // A register image (each register high byte first) in one function-16
    // request: the bound, then the station, then the exchange.
    bool writeRegistersWithFN16(AbstractDeviceInterface* port, unsigned short address,
                                const QByteArray& image, int station, const char* unit);
    // The same image register by register with function 6, without pauses.
    bool writeRegistersWithFN6(AbstractDeviceInterface* port, unsigned short address,
                               const QByteArray& image, int station, const char* unit);
    // One function-6 transaction per register of an image, in address order,
    // stopping at the first failure; pauses for the port's delay between
    // registers when asked to. No bound of its own.
    bool writeImageWithFN6(AbstractDeviceInterface* port, unsigned short address,
                           const QByteArray& image, int station, bool pauseBetween);
    // Sleeps the port's delay (before attempts, between stations and steps).
    static void pauseForPortDelay(AbstractDeviceInterface* port);

    // Dispatch helpers
    // The attempts of one host command, shared by read() and write(): before each
    // the port's delay and a cleared error, then attempt(); repeated while it
    // fails and the port's retry count allows. False, after one attempt's delay
    // and "unsupported data type: ", for a type that has no operation.
    template <typename Attempt>
    bool runAttempts(AbstractDeviceInterface* port, const CommunicatorCommand& command, Attempt attempt);
    // The special word and bit writes with function 16 or with function 6 for
    // the servos of the station list.
    enum WriteFunction { WithFN16, WithFN6 };
    bool writeSpecialWords(AbstractDeviceInterface* port, unsigned short address,
                           const QByteArray& data, int& progress, WriteFunction function);
    bool writeSpecialBit(AbstractDeviceInterface* port, unsigned short address, unsigned char bit,
                         const QByteArray& data, int& progress, WriteFunction function);
    // The fan-out of the special writes to the listed stations (defined and used
    // in driver_side_register_writes.cpp).
    template <typename WriteStation>
    bool writeListedStations(AbstractDeviceInterface* port, int& progress, WriteStation writeStation);

    bool commError = false;
    bool debugMode = false;
    QString lastError;
    // The driver-side registers behind HR60000..HR60010; never resized.
    QVector<unsigned short> specialRegisters;
};

#endif
