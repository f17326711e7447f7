#include "tools/tx_package.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "tools/byte_order.h"
#include "tools/checksum.h"
#include "tools/text_utilities.h"

namespace {

// A Qt 5 byte array holds a little less than INT_MAX bytes.
constexpr long long kMaxPackageSize = std::numeric_limits<int>::max() - 32;
constexpr int kSizeFieldLength = 4;

const unsigned char* bytesOf(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

QByteArray hexPair(unsigned char value)
{
    static const char kDigits[] = "0123456789ABCDEF";
    const char pair[2] = {kDigits[value >> 4], kDigits[value & 0x0F]};
    return QByteArray(pair, 2);
}

int clampToInt(long long value)
{
    return static_cast<int>(std::min<long long>(value, std::numeric_limits<int>::max()));
}

// Sizes and starts of the sections with variable entries resolved. An entry -k
// needs the start and size of section k, so the sizes of sections 0 to k. When
// those needs lead back to the section itself, through any chain of references,
// the section is part of a cycle and its size is 0. Every other section needs only
// sections before it, so one pass in section order resolves them all.
class SectionLayout {
public:
    SectionLayout(const QList<int>& entries, const QByteArray& bytes)
        : entries_(entries), bytes_(bytes), farthest_(static_cast<std::size_t>(entries.size())),
          sizes_(static_cast<std::size_t>(entries.size())), starts_(static_cast<std::size_t>(entries.size()) + 1, 0)
    {
        int farthest = -1;
        for (int section = 0; section < entries.size(); ++section) {
            farthest = std::max(farthest, referenceOf(section));
            farthest_[index(section)] = farthest;
        }
        for (int section = 0; section < entries.size(); ++section) {
            sizes_[index(section)] = resolve(section);
            starts_[index(section) + 1] = starts_[index(section)] + sizes_[index(section)];
        }
    }

    long long size(int section) const { return sizes_[index(section)]; }
    long long start(int section) const { return starts_[index(section)]; }

private:
    static std::size_t index(int section) { return static_cast<std::size_t>(section); }

    // The section whose first bytes give this one's size; -1 for none.
    int referenceOf(int section) const
    {
        const long long entry = entries_.at(section);
        return entry < 0 && -entry < entries_.size() ? static_cast<int>(-entry) : -1;
    }

    long long resolve(int section) const
    {
        if (entries_.at(section) >= 0)
            return entries_.at(section);
        const int source = referenceOf(section);
        if (source < 0)
            return 0;
        // Sections 0 to reach are needed; any of them may need sections further on.
        int reach = source;
        while (reach < section && farthest_[index(reach)] > reach)
            reach = farthest_[index(reach)];
        if (reach >= section)
            return 0;
        const long long first = start(source);
        if (size(source) < kSizeFieldLength || first + kSizeFieldLength > bytes_.size())
            return 0;
        return std::max(0, QByteArrayToInt(bytes_.mid(static_cast<int>(first), kSizeFieldLength)));
    }

    const QList<int>& entries_;
    const QByteArray& bytes_;
    std::vector<int> farthest_; // highest section referenced from sections 0 to i
    std::vector<long long> sizes_;
    std::vector<long long> starts_;
};

} // namespace

QList<int> EmptyPackageSizeList()
{
    return QList<int>();
}

bool TxPackage::setData(const QByteArray& bytes)
{
    packageData = bytes;
    return true;
}

bool TxPackage::setData(const char* bytes, int length)
{
    if (length < 0 || (bytes == nullptr && length > 0))
        return false;
    packageData = QByteArray(bytes, length);
    return true;
}

char* TxPackage::data()
{
    return packageData.data();
}

QByteArray TxPackage::byteArrayData() const
{
    return packageData;
}

int TxPackage::totalSize() const
{
    return packageData.size();
}

void TxPackage::clearAll()
{
    packageData.clear();
    sectionSizes.clear();
}

bool TxPackage::setSectionSize(const QList<int>& sizes)
{
    long long total = 0;
    for (int size : sizes) {
        total += std::max(size, 0);
        if (total > kMaxPackageSize)
            return false;
    }
    sectionSizes = sizes;
    const int kept = packageData.size();
    packageData.resize(static_cast<int>(total));
    if (total > kept)
        std::fill(packageData.begin() + kept, packageData.end(), '\0');
    return true;
}

bool TxPackage::appendByte(unsigned char value)
{
    return appendSection(QByteArray(1, static_cast<char>(value)));
}

bool TxPackage::appendWord(unsigned short value)
{
    return appendSection(wordToByteArray(value));
}

bool TxPackage::appendDWord(unsigned int value)
{
    return appendSection(intToByteArray(static_cast<int>(value)));
}

bool TxPackage::appendString(const QString& text)
{
    return appendSection(text.toLatin1());
}

bool TxPackage::appendSection(const QByteArray& bytes)
{
    packageData.append(bytes);
    sectionSizes.append(bytes.size());
    return true;
}

bool TxPackage::appendByte2Ascii(unsigned char value)
{
    return appendSection(hexPair(value));
}

bool TxPackage::appendLRCByte()
{
    return appendByte(UInt8CheckSum(bytesOf(packageData), packageData.size()));
}

bool TxPackage::appendLRCAscii()
{
    return appendByte2Ascii(UInt8CheckSum(bytesOf(packageData), packageData.size()));
}

bool TxPackage::appendFCSAscii(int /*reserved*/)
{
    return appendByte2Ascii(XorUInt8CheckSum(bytesOf(packageData), packageData.size()));
}

int TxPackage::numberOfSections() const
{
    return sectionSizes.size();
}

bool TxPackage::validSectionNumber(int section) const
{
    return section >= 0 && section < sectionSizes.size();
}

int TxPackage::sectionStartIndex(int section) const
{
    if (!validSectionNumber(section))
        return -1;
    return clampToInt(SectionLayout(sectionSizes, packageData).start(section));
}

int TxPackage::sectionSize(int section) const
{
    if (!validSectionNumber(section))
        return 0;
    return clampToInt(SectionLayout(sectionSizes, packageData).size(section));
}

QByteArray TxPackage::dataAt(int section) const
{
    if (!validSectionNumber(section))
        return QByteArray();
    SectionLayout layout(sectionSizes, packageData);
    const long long start = layout.start(section);
    if (start >= packageData.size())
        return QByteArray();
    return packageData.mid(static_cast<int>(start), clampToInt(layout.size(section)));
}

int TxPackage::arrayToInt(const QByteArray& bytes) const
{
    return bytes.isEmpty() ? 0 : static_cast<unsigned char>(bytes.at(0));
}

int TxPackage::calculateFCS(TxPackage* package, int excluded)
{
    if (package == nullptr)
        return 0;
    const QByteArray& bytes = package->packageData;
    return XorUInt8CheckSum(bytesOf(bytes), bytes.size() - std::max(excluded, 0));
}

QString TxPackage::toString() const
{
    return dumpByteArray(packageData);
}
