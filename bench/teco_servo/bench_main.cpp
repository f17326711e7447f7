// The driver's cost per command against libmodbus's own code for the same
// transaction, both talking to an instant in-memory servo in the same run:
// instructions (valgrind's callgrind, when installed; wall time otherwise) and
// heap allocations per command, for every common area.
//
//   teco_servo_bench              measure and print the table
//   teco_servo_bench --no-valgrind   time instead of counting instructions
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "allocation_counter.h"
#include "instant_port.h"
#include "instruction_counter.h"
#include "libmodbus_line.h"
#include "teco_servo/driver_teco_servo.h"

namespace {

const char* const ChildArgument = "--callgrind-child";

// The servo driver with its station list open to the fan-out set-up.
class BenchDriver : public DriverTecoServo {
public:
    void listStations(int first, int count)
    {
        specialRegisters[SpecialRegisters::StationCountEntry] = static_cast<unsigned short>(count);
        for (int k = 1; k <= count; ++k)
            specialRegisters[k] = static_cast<unsigned short>(first + k - 1);
    }
};

using Command = std::function<bool()>;

struct Row {
    std::string name;
    bool goal;            // a row with a target of its own: ratio <= 1.0
    bool read;            // reads may allocate once (the returned array), writes never
    Command driver;
    Command libmodbus;
};

// Everything both sides talk to, and the commands of the table.
class Bench {
public:
    Bench() : port(servo, 1), line(servo)
    {
        for (int k = 0; k < 65536; ++k)
            servo.registers[k] = static_cast<unsigned short>(k * 7);
        for (int k = 0; k < 20; ++k)
            words.append(static_cast<char>(k * 3)).append(static_cast<char>(k));
        for (int k = 0; k < 10; ++k)
            registers[k] = static_cast<uint16_t>(0x0100 * k + k);
        for (int k = 0; k < 16; ++k)
            bits[k] = static_cast<uint8_t>(k % 3 == 0);
        coils = QByteArray(reinterpret_cast<const char*>(bits), 16);
        driver.listStations(5, 8);
    }

    std::vector<Row> rows()
    {
        modbus_t* mb = line.context();
        return {
            {"read HR100 x10 (fn 3)", true, true, readCommand(Word, 10, "HR100", 20),
             [=] { return modbus_read_registers(mb, 99, 10, registers) == 10; }},
            {"write HR100 x10 (fn 16)", true, false, writeCommand(Word, 10, "HR100", words.left(20)),
             [=] { return modbus_write_registers(mb, 99, 10, registers) == 10; }},
            {"read DO1 x16 (fn 1)", true, true, readCommand(Bit, 16, "DO1", 2),
             [=] { return modbus_read_bits(mb, 0, 16, bits) == 16; }},
            {"write FN6HR100 x1 (fn 6)", true, false, writeCommand(Word, 1, "FN6HR100", words.left(2)),
             [=] { return modbus_write_register(mb, 99, 0x1234) == 1; }},
            {"fan-out HR60010 to 8 stations (fn 16)", true, false, writeCommand(Word, 1, "HR60010", words.left(2)),
             [=] { return fanOutWithLibmodbus(mb); }},
            {"read FN6HR100 x10 (fn 3)", false, true, readCommand(Word, 10, "FN6HR100", 20),
             [=] { return modbus_read_registers(mb, 99, 10, registers) == 10; }},
            {"read IR100 x10 (fn 4)", false, true, readCommand(Word, 10, "IR100", 20),
             [=] { return modbus_read_input_registers(mb, 99, 10, registers) == 10; }},
            {"read HR200SW x5 dwords (fn 3)", false, true, readCommand(DoubleWord, 5, "HR200SW", 20),
             [=] { return modbus_read_registers(mb, 199, 10, registers) == 10; }},
            {"read FN5DO1 x16 (fn 1)", false, true, readCommand(Bit, 16, "FN5DO1", 2),
             [=] { return modbus_read_bits(mb, 0, 16, bits) == 16; }},
            {"read DI1 x16 (fn 2)", false, true, readCommand(Bit, 16, "DI1", 2),
             [=] { return modbus_read_input_bits(mb, 0, 16, bits) == 16; }},
            {"read HR100.3 x4 bits (fn 3)", false, true, readCommand(Bit, 4, "HR100.3", 1),
             [=] { return modbus_read_registers(mb, 99, 1, registers) == 1; }},
            {"write HR200SW x5 dwords (fn 16)", false, false, writeCommand(DoubleWord, 5, "HR200SW", words.left(20)),
             [=] { return modbus_write_registers(mb, 199, 10, registers) == 10; }},
            {"write FN6HR100 x10 (10 x fn 6)", false, false, writeCommand(Word, 10, "FN6HR100", words.left(20)),
             [=] { return tenSingleRegisterWrites(mb); }},
            {"write DO1 x16 (fn 15)", false, false, writeCommand(Bit, 16, "DO1", coils),
             [=] { return modbus_write_bits(mb, 0, 16, bits) == 16; }},
            {"write FN5DO1 x1 (fn 5)", false, false, writeCommand(Bit, 1, "FN5DO1", coils.left(1)),
             [=] { return modbus_write_bit(mb, 0, 1) == 1; }},
            {"write HR100.3 bit (fn 3 + fn 16)", false, false, writeCommand(Bit, 1, "HR100.3", coils.left(1)),
             [=] { return modbus_read_registers(mb, 99, 1, registers) == 1
                          && modbus_write_registers(mb, 99, 1, registers) == 1; }},
        };
    }

private:
    Command readCommand(int type, int count, const char* address, int expectedSize)
    {
        const CommunicatorCommand command(type, count, QString::fromLatin1(address));
        return [=] {
            const QByteArray data = driver.read(&port, command);
            return !driver.hasError() && data.size() == expectedSize;
        };
    }
    Command writeCommand(int type, int count, const char* address, const QByteArray& data)
    {
        const CommunicatorCommand command(type, count, QString::fromLatin1(address));
        return [=] { return driver.write(&port, command, data) && !driver.hasError(); };
    }
    bool fanOutWithLibmodbus(modbus_t* mb)
    {
        const uint16_t value = 0x1234;
        bool ok = true;
        for (int station = 5; station < 13; ++station) {
            modbus_set_slave(mb, station);
            ok = modbus_write_registers(mb, 1299, 1, &value) == 1 && ok;
        }
        modbus_set_slave(mb, 1);
        return ok;
    }
    bool tenSingleRegisterWrites(modbus_t* mb)
    {
        bool ok = true;
        for (int k = 0; k < 10; ++k)
            ok = modbus_write_register(mb, 99 + k, registers[k]) == 1 && ok;
        return ok;
    }

    InstantServo servo;
    InstantPort port;
    LibmodbusLine line;
    BenchDriver driver;
    QByteArray words;
    QByteArray coils;
    uint16_t registers[10];
    uint8_t bits[16];
};

struct Measure {
    double perCommand = 0;   // instructions, or nanoseconds when timed
    double allocations = 0;
    bool ok = true;
};

// The loop that callgrind collects in: named to it, so never inlined.
__attribute__((noinline)) bool measuredLoop(const Command& command, int runs)
{
    bool ok = true;
    for (int k = 0; k < runs; ++k)
        ok = command() && ok;
    return ok;
}

// Warms up, then runs the command `runs` times, timed and with its heap
// allocations counted; dumped under dumpName in the run under callgrind.
Measure measure(const Command& command, int runs, const std::string& dumpName = std::string())
{
    Measure m;
    for (int k = 0; k < 10; ++k)
        m.ok = command() && m.ok;
    const long long allocationsBefore = heapAllocations();
    const auto started = std::chrono::steady_clock::now();
    if (!dumpName.empty())
        InstructionCounter::begin();
    m.ok = measuredLoop(command, runs) && m.ok;
    if (!dumpName.empty())
        InstructionCounter::end(dumpName);
    const auto elapsed = std::chrono::steady_clock::now() - started;
    m.allocations = static_cast<double>(heapAllocations() - allocationsBefore) / runs;
    m.perCommand = std::chrono::duration<double, std::nano>(elapsed).count() / runs;
    return m;
}

const int CountedRuns = 200;
const char* const CalibrationLoop = "calibration";

// The run under callgrind: every row's two loops, each dumped under its own
// name, and a loop of empty commands whose cost is taken off the others.
int countInstructions()
{
    measure([] { return true; }, CountedRuns, CalibrationLoop);
    Bench bench;
    for (const Row& row : bench.rows()) {
        if (!measure(row.driver, CountedRuns, row.name + " | driver").ok
            || !measure(row.libmodbus, CountedRuns, row.name + " | libmodbus").ok)
            std::fprintf(stderr, "%s failed\n", row.name.c_str());
    }
    return 0;
}

// Instructions per command of every loop of one run under callgrind, the
// loop's own cost taken off; empty when nothing was counted.
std::map<std::string, double> countRun(bool withPort, std::string* why)
{
    const std::vector<std::string> collected = {"*measuredLoop*"};
    const std::vector<std::string> leftOut = withPort
        ? std::vector<std::string>{"InstantServo::answer*"}
        : std::vector<std::string>{"InstantPort::*", "read", "write", "select"};
    const std::map<std::string, double> totals =
        InstructionCounter::countInChildRun(ChildArgument, collected, leftOut, why);
    std::map<std::string, double> result;
    const auto calibration = totals.find(CalibrationLoop);
    if (calibration == totals.end())
        return result;
    for (const auto& total : totals)
        result[total.first] = (total.second - calibration->second) / CountedRuns;
    return result;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], ChildArgument) == 0)
        return countInstructions();
    const bool valgrindWanted = !(argc > 1 && std::strcmp(argv[1], "--no-valgrind") == 0);

    std::string why = "--no-valgrind given";
    std::map<std::string, double> counts[2];
    if (valgrindWanted) {
        counts[0] = countRun(true, &why);
        counts[1] = countRun(false, &why);
    }
    const bool counted = !counts[0].empty() && !counts[1].empty();

    std::printf("Per command against an instant in-memory servo, the driver beside libmodbus %s's own code\n"
                "for the same transaction, in the same run. ",
                LIBMODBUS_VERSION_STRING);
    if (counted)
        std::printf("Instructions (callgrind), with the port's work or the\n"
                    "in-memory system calls counted on each side, and each side's own code alone.\n\n");
    else
        std::printf("Instructions not counted (%s):\nwall time per command in ns instead, noisy.\n\n",
                    why.c_str());
    std::printf("%-38s %8s %9s %6s   %8s %9s %6s   %6s %6s\n", "", "with", "port", "", "own", "code", "",
                "allocs", "");
    std::printf("%-38s %8s %9s %6s   %8s %9s %6s   %6s %6s\n", "command", "driver", "libmodbus", "ratio",
                "driver", "libmodbus", "ratio", "driver", "libmb");

    Bench bench;
    bool allocationsMet = true;
    bool ratiosMet[2] = {true, true};
    for (const Row& row : bench.rows()) {
        const Measure driver = measure(row.driver, counted ? 1000 : 20000);
        const Measure libmodbus = measure(row.libmodbus, counted ? 1000 : 20000);
        double cost[2][2] = {{driver.perCommand, libmodbus.perCommand}, {0, 0}};
        if (counted) {
            for (int part = 0; part < 2; ++part) {
                cost[part][0] = counts[part][row.name + " | driver"];
                cost[part][1] = counts[part][row.name + " | libmodbus"];
            }
        }
        double ratio[2];
        for (int part = 0; part < 2; ++part) {
            ratio[part] = cost[part][1] > 0 ? cost[part][0] / cost[part][1] : 0;
            ratiosMet[part] = ratiosMet[part] && (!row.goal || ratio[part] <= 1.0);
        }
        const bool allocationsFit = !countsHeapAllocations() || driver.allocations <= (row.read ? 1 : 0);
        allocationsMet = allocationsMet && allocationsFit && driver.ok && libmodbus.ok;
        char own[40] = "       -         -      -";
        if (counted)
            std::snprintf(own, sizeof own, "%8.0f %9.0f %6.2f", cost[1][0], cost[1][1], ratio[1]);
        std::printf("%-38s %8.0f %9.0f %6.2f   %s   %6.2f %6.2f%s%s%s\n", row.name.c_str(), cost[0][0], cost[0][1],
                    ratio[0], own, driver.allocations, libmodbus.allocations, row.goal ? "  *" : "",
                    allocationsFit ? "" : "  (too many allocations)", driver.ok && libmodbus.ok ? "" : "  (command FAILED)");
    }
    std::printf("\nGoals: the rows marked * at or below libmodbus (ratio <= 1.0); reads at most 1 heap\n"
                "allocation (the returned array), writes none.\n");
    if (counted)
        std::printf("  ratios with the port counted: %s\n  ratios of the own code alone: %s\n",
                    ratiosMet[0] ? "met" : "NOT met", ratiosMet[1] ? "met" : "NOT met");
    std::printf("  allocations: %s\n", !countsHeapAllocations() ? "not counted with this C library"
                                       : allocationsMet ? "met" : "NOT met");
    return allocationsMet && (!counted || ratiosMet[0]) ? 0 : 1;
}
