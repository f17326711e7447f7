// Call sequences on one TxPackage, checked against a small model: the bytes and
// the section table the calls should have made, and the sections read back.
#include <QList>
#include <QString>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <fuzzer/FuzzedDataProvider.h>

#include "common/fuzz_check.h"
#include "tools/tx_package.h"

namespace {

// Entries too large for any byte array, and references far out of the table.
const int Extremes[] = {INT_MAX, INT_MAX - 31, INT_MIN, -1000};

struct Model {
    QByteArray bytes;
    QList<int> sizes;

    void append(const QByteArray& section)
    {
        bytes += section;
        sizes.append(section.size());
    }
    unsigned char lrc() const
    {
        unsigned sum = 0;
        for (char c : bytes)
            sum += static_cast<unsigned char>(c);
        return static_cast<unsigned char>(sum);
    }
    unsigned char fcs(int excluded) const
    {
        unsigned char x = 0;
        for (int i = 0; i < bytes.size() - qMax(excluded, 0); ++i)
            x ^= static_cast<unsigned char>(bytes.at(i));
        return x;
    }
};

QByteArray hex2(unsigned char value)
{
    return QByteArray::number(value, 16).rightJustified(2, '0').toUpper();
}

QByteArray littleEndian(unsigned value, int bytes)
{
    QByteArray out;
    for (int i = 0; i < bytes; ++i)
        out.append(static_cast<char>((value >> (8 * i)) & 0xFF));
    return out;
}

QByteArray bytesOf(FuzzedDataProvider& input, size_t most)
{
    const std::string s = input.ConsumeRandomLengthString(most);
    return QByteArray(s.data(), static_cast<int>(s.size()));
}

void checkSections(const TxPackage& package, const Model& model)
{
    FUZZ_REQUIRE(package.byteArrayData() == model.bytes && package.totalSize() == model.bytes.size(), "bytes");
    FUZZ_REQUIRE(package.numberOfSections() == model.sizes.size(), "section count");
    long long start = 0;
    // Sizes read from the bytes may add up past an int: starts beyond are not compared.
    for (int i = 0; i < model.sizes.size() && start <= INT_MAX; ++i) {
        const int size = package.sectionSize(i);
        FUZZ_REQUIRE(package.validSectionNumber(i), "a section of the table is valid");
        FUZZ_REQUIRE(size >= 0 && (model.sizes.at(i) < 0 || size == model.sizes.at(i)), "section size");
        FUZZ_REQUIRE(package.sectionStartIndex(i) == start, "a section starts where the one before ends");
        FUZZ_REQUIRE(package.dataAt(i) == model.bytes.mid(static_cast<int>(start), size), "section bytes");
        start += size;
    }
    for (int invalid : {-1, int(model.sizes.size()), INT_MIN}) {
        FUZZ_REQUIRE(!package.validSectionNumber(invalid) && package.sectionStartIndex(invalid) == -1
                         && package.sectionSize(invalid) == 0 && package.dataAt(invalid).isEmpty(),
                     "a section number outside the table");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    TxPackage package;
    Model model;
    for (int step = 0; step < 24 && input.remaining_bytes() > 0; ++step) {
        switch (input.ConsumeIntegralInRange<int>(0, 12)) {
        case 0: {
            const unsigned char v = input.ConsumeIntegral<unsigned char>();
            package.appendByte(v);
            model.append(QByteArray(1, static_cast<char>(v)));
            break;
        }
        case 1: {
            const unsigned short v = input.ConsumeIntegral<unsigned short>();
            package.appendWord(v);
            model.append(littleEndian(v, 2));
            break;
        }
        case 2: {
            const unsigned v = input.ConsumeIntegral<unsigned>();
            package.appendDWord(v);
            model.append(littleEndian(v, 4));
            break;
        }
        case 3: {
            const QByteArray latin1 = bytesOf(input, 40);
            package.appendString(QString::fromLatin1(latin1.constData(), latin1.size()));
            model.append(latin1);
            break;
        }
        case 4: {
            const QByteArray section = bytesOf(input, 40);
            package.appendSection(section);
            model.append(section);
            break;
        }
        case 5: {
            const unsigned char v = input.ConsumeIntegral<unsigned char>();
            package.appendByte2Ascii(v);
            model.append(hex2(v));
            break;
        }
        case 6:
            package.appendLRCByte();
            model.append(QByteArray(1, static_cast<char>(model.lrc())));
            break;
        case 7:
            package.appendLRCAscii();
            model.append(hex2(model.lrc()));
            break;
        case 8:
            package.appendFCSAscii(input.ConsumeIntegral<int>());
            model.append(hex2(model.fcs(0)));
            break;
        case 9:
            package.clearAll();
            model = Model();
            break;
        case 10: {
            // New bytes under the same table: sizes may now point past the end.
            model.bytes = bytesOf(input, 64);
            package.setData(model.bytes);
            break;
        }
        case 11: {
            QList<int> sizes;
            const int n = input.ConsumeIntegralInRange<int>(0, 6);
            for (int i = 0; i < n; ++i)
                sizes.append(input.ConsumeIntegralInRange<int>(0, 7) != 0
                                 ? input.ConsumeIntegralInRange<int>(-7, 16)
                                 : Extremes[input.ConsumeIntegralInRange<int>(0, 3)]);
            long long total = 0;
            for (int s : sizes)
                total += qMax(s, 0);
            const bool accepted = package.setSectionSize(sizes);
            if (total <= INT_MAX - 32) {
                // Kept bytes keep their values, added bytes are 0.
                FUZZ_REQUIRE(accepted, "a table that fits is accepted");
                model.sizes = sizes;
                const int kept = model.bytes.size();
                model.bytes.resize(static_cast<int>(total));
                if (total > kept)
                    model.bytes.replace(kept, static_cast<int>(total) - kept, QByteArray(static_cast<int>(total) - kept, '\0'));
            } else {
                FUZZ_REQUIRE(!accepted, "a table larger than a byte array can hold is refused");
            }
            break;
        }
        default: {
            const int excluded = input.ConsumeIntegralInRange<int>(-3, 70);
            FUZZ_REQUIRE(TxPackage::calculateFCS(&package, excluded) == model.fcs(excluded), "FCS");
            break;
        }
        }
        checkSections(package, model);
    }
    QString expected = QStringLiteral("(");
    for (char c : model.bytes)
        expected += QStringLiteral("0X") + QString::number(static_cast<unsigned char>(c), 16) + QLatin1Char(' ');
    expected += QStringLiteral(") : ") + QString::fromLatin1(model.bytes.constData(), int(qstrnlen(model.bytes.constData(), uint(model.bytes.size()))));
    FUZZ_REQUIRE(package.toString() == expected, "readable form");
    return 0;
}
