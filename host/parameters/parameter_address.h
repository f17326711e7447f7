#ifndef PARAMETERS_PARAMETER_ADDRESS_H
#define PARAMETERS_PARAMETER_ADDRESS_H

#include <QString>

// The four tables of a Modbus slave. Area letters that differ only in the
// write function (HR and FN6HR, DO and FN5DO) name the same table.
enum class RegisterTable { Holding, Input, Coils, DiscreteInputs };

// An address of a register map, taken apart: HR1304, FN6HR900, IR12, HR200SW,
// HR100.3, DO5, FN5DO7, DI3.
struct ParameterAddress {
    QString letters; // upper case: HR, FN6HR, IR, DO, FN5DO or DI
    RegisterTable table = RegisterTable::Holding;
    int number = 0;  // 1..65536, as written
    int bit = -1;    // 0..15 for a bit of a register, else -1
    bool highWordFirst = false; // SW: the first register holds the high word

    bool isBitTable() const { return table == RegisterTable::Coils || table == RegisterTable::DiscreteInputs; }
    bool isRegisterBit() const { return bit >= 0; }
    bool writable() const { return table == RegisterTable::Holding || table == RegisterTable::Coils; }
    // The address text of a register (or coil) of this area, `offset` after this
    // one, without bit or SW: what a plain word or bit command reads.
    QString plainText(int offset = 0) const { return letters + QString::number(number + offset); }
    // The function code the driver writes `registers` registers (or one bit) with.
    int writeFunction(int registers) const;
};

// HR60000..HR60010 are the driver's own station list, answered without the servo.
constexpr int DriverStationListFirst = 60000;
constexpr int DriverStationListLast = 60010;
bool isDriverStationList(RegisterTable table, int number);

// The table's name in messages: "holding registers", "coils", ...
QString tableName(RegisterTable table);

// False with a one-line reason for a text that is no address of the six areas.
bool parseParameterAddress(const QString& text, ParameterAddress* address, QString* error);

#endif
