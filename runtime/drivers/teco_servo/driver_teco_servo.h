#ifndef DRIVER_TECO_SERVO_H
#define DRIVER_TECO_SERVO_H

#include <QByteArray>
#include <QObject>
#include <QString>

#include "interface/abstract_device_interface.h"
#include "interface/driver_interface.h"
#include "teco_servo/modbus_address.h"
#include "teco_servo/modbus_request.h"
#include "teco_servo/register_source.h"
#include "teco_servo/special_registers.h"
#include "teco_servo/station.h"

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
    void clearError() { commError = false; }
    void appendCmdToReadCommError(unsigned char station, const CommunicatorCommand& command);
    void appendCmdToWriteCommError(unsigned char station, const CommunicatorCommand& command);

    // Judge the first 5 bytes of every reply: all of them arrived, from the
    // slave asked, answering the function asked; otherwise false after the
    // refusal's message.
    bool checkMinADU(unsigned char slave, const char* buffer, int received)
    {
        return (received == ModbusRtu::FirstReceiveLength && static_cast<unsigned char>(buffer[0]) == slave)
            || refuseMinADU(buffer, received);
    }
    bool checkException(const char* buffer, unsigned char function)
    {
        return static_cast<unsigned char>(buffer[1]) == function || refuseReplyFunction(buffer, function);
    }

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
    enum CrcCheck { VerifyCrc, SkipCrc };
    enum WriteFunction { WithFN16, WithFN6 };

    // The one request/reply exchange of every transaction: setOption with
    // DiscardInputOption and 0, send, zero the bytes the reply takes, receive 5,
    // checkMinADU, checkException, receive the rest of the reply length the
    // request implies, then (unless told not to) the CRC over the whole reply,
    // which then lies in `reply` from byte 0.
    bool exchange(AbstractDeviceInterface* port, const ModbusRequest& request, ReplyBuffer& reply,
                  CrcCheck crcCheck = VerifyCrc);
    // The slave id of station; false after "invalid slave id:%d" for a port's
    // station above 255 (compared unsigned, so negative ids too).
    bool resolveStation(AbstractDeviceInterface* port, Station station, unsigned char& slave)
    {
        if (!station.askPort()) {
            slave = station.slave();
            return true;
        }
        const int id = port->getStationId();
        if (static_cast<unsigned int>(id) > 255)
            return refuseSlaveId(id);
        slave = static_cast<unsigned char>(id);
        return true;
    }
    // The refusals behind the inline checks: each sets its message and gives
    // false, so that the path a command takes when all is well stays short.
    bool refuseSlaveId(int id);
    bool refuseMinADU(const char* buffer, int received);
    bool refuseReplyFunction(const char* buffer, unsigned char function);

    // Read path (register_reads.cpp, bit_reads.cpp): the operations above,
    // with the area letters parsed once by the dispatch.
    bool readDevices(AbstractDeviceInterface* port, Station station, unsigned char function,
                     unsigned short address, unsigned short quantity, CrcCheck crcCheck, ReplyBuffer& reply)
    {
        unsigned char slave = 0;
        return resolveStation(port, station, slave)
            && exchange(port, ModbusRequest::readDevices(slave, function, address, quantity), reply, crcCheck);
    }
    // 1 to 125 registers from the area, the last one at most 65535, else false
    // after "can't read any <unit> from <prefix><address + 1>".
    bool readRegisterImage(AbstractDeviceInterface* port, const AreaLetters& area, unsigned short address,
                           long long registers, const char* unit, Station station, CrcCheck crcCheck,
                           ReplyBuffer& reply)
    {
        // A request for no registers is illegal Modbus; refuse it with the range message.
        if (!ModbusRtu::rangeFits(address, registers, 1, ModbusRtu::MaxRegistersPerRead))
            return refuseRegisterRead(area, address, unit);
        return readDevices(port, station, registerReadFunction(area.kind()), address,
                           static_cast<unsigned short>(registers), crcCheck, reply);
    }
    bool refuseRegisterRead(const AreaLetters& area, unsigned short address, const char* unit);
    QByteArray readWords(AbstractDeviceInterface* port, const AreaLetters& area, unsigned short address,
                         int count, Station station, CrcCheck crcCheck);
    QByteArray readDWords(AbstractDeviceInterface* port, const AreaLetters& area, unsigned short address,
                          int count, bool highWordFirst);
    QByteArray readBytes(AbstractDeviceInterface* port, const AreaLetters& area, unsigned short address,
                         int count);
    QByteArray readDIDOs(AbstractDeviceInterface* port, const AreaLetters& area, unsigned short address,
                         int count);
    QByteArray readIRHRbits(AbstractDeviceInterface* port, const AreaLetters& area, unsigned short address,
                            unsigned char bit, int count);

    // Write path (register_writes_fn16.cpp, register_writes_fn6.cpp,
    // register_bit_writes.cpp). The bound of every register write: at most
    // 123 registers, the last one at most 65535; otherwise false after
    // "can't write any <unit> to HR<address + 1>".
    bool registerWriteFits(unsigned short address, long long registers, const char* unit)
    {
        return ModbusRtu::rangeFits(address, registers, 0, ModbusRtu::MaxRegistersPerWrite)
            || refuseRegisterWrite(address, unit);
    }
    bool refuseRegisterWrite(unsigned short address, const char* unit);
    // All registers of source in one function-16 request: the bound, the station, the exchange.
    bool writeRegistersWithFN16(AbstractDeviceInterface* port, unsigned short address,
                                const RegisterSource& source, Station station, const char* unit);
    // The same register by register with function 6: the bound, the station
    // once up front, then one transaction per register (each asking for its
    // station again), stopped by the first failure.
    bool writeRegistersWithFN6(AbstractDeviceInterface* port, unsigned short address,
                               const RegisterSource& source, Station station, const char* unit);
    // One function-6 transaction per register, pausing for the port's delay
    // between registers when asked to. No bound of its own.
    bool writeEachRegisterWithFN6(AbstractDeviceInterface* port, unsigned short address,
                                  const RegisterSource& source, Station station, bool pauseBetween);
    bool writeBits(AbstractDeviceInterface* port, unsigned short address, unsigned char bit,
                   const QByteArray& data, Station station, WriteFunction function);

    // Special registers (special_register_reads.cpp, special_register_writes.cpp).
    bool writeSpecialWords(AbstractDeviceInterface* port, unsigned short address, const QByteArray& data,
                           int& progress, WriteFunction function);
    bool writeSpecialBit(AbstractDeviceInterface* port, unsigned short address, unsigned char bit,
                         const QByteArray& data, int& progress, WriteFunction function);
    // The fan-out of the special writes to the listed stations.
    template <typename WriteStation>
    bool writeListedStations(AbstractDeviceInterface* port, int& progress, WriteStation writeStation);

    // Dispatch (command_attempts.h): the attempts of one host command, shared by
    // read() and write(): before each the port's delay and a cleared error,
    // then attempt(); repeated while it fails and the port's retry count
    // allows. False, after one attempt's delay and "unsupported data type: ",
    // for a type that has no operation.
    template <typename Attempt>
    bool runAttempts(AbstractDeviceInterface* port, const CommunicatorCommand& command, Attempt attempt);
    // Sleeps the port's delay (before attempts, between stations and steps).
    static void pauseForPortDelay(AbstractDeviceInterface* port);
    QByteArray readOnce(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                        const ParsedAddress& at);

    bool commError = false;
    bool debugMode = false;
    QString lastError;
    SpecialRegisters specialRegisters;
};

#endif
