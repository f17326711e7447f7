#include "tools/data_pack.h"

#include <cstddef>
#include <cstring>
#include <limits>

namespace {

enum class Kind { Value, Zero, PassOver };

struct LetterRule {
    char letter;
    int width; // bytes of one element
    bool highByteFirst;
    bool countable;
    Kind kind;
};

const LetterRule kLetters[] = {
    {'C', 1, false, true, Kind::Value},  {'c', 1, false, true, Kind::Value},
    {'S', 2, false, false, Kind::Value}, {'s', 2, false, false, Kind::Value},
    {'v', 2, false, true, Kind::Value},  {'n', 2, true, true, Kind::Value},
    {'I', 4, false, false, Kind::Value}, {'L', 4, false, false, Kind::Value},
    {'i', 4, false, false, Kind::Value}, {'l', 4, false, false, Kind::Value},
    {'V', 4, false, true, Kind::Value},  {'N', 4, true, true, Kind::Value},
    {'x', 1, false, true, Kind::Zero},   {'X', 1, false, true, Kind::PassOver},
};

// Results are ints, and a Qt 5 byte array holds a little less than INT_MAX bytes.
constexpr long long kMaxPackedLength = std::numeric_limits<int>::max() - 32;

const LetterRule* findLetter(char letter)
{
    for (const LetterRule& rule : kLetters) {
        if (rule.letter == letter)
            return &rule;
    }
    return nullptr;
}

struct Item {
    const LetterRule* rule = nullptr;
    bool counted = false;
    long long count = 1;

    long long length() const { return rule->width * count; }
};

enum class Status { End, Ok, UnknownCharacter, FaultyItem };

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

Status readItem(const char*& cursor, Item& item)
{
    if (*cursor == '\0')
        return Status::End;
    item = Item();
    if (!isDigit(*cursor)) {
        item.rule = findLetter(*cursor);
        if (item.rule == nullptr)
            return Status::UnknownCharacter;
        ++cursor;
        return Status::Ok;
    }
    long long count = 0;
    for (; isDigit(*cursor); ++cursor) {
        count = count * 10 + (*cursor - '0');
        if (count > kMaxPackedLength)
            return Status::FaultyItem;
    }
    item.rule = findLetter(*cursor);
    if (item.rule == nullptr || !item.rule->countable || (count == 0 && item.rule->kind == Kind::Value))
        return Status::FaultyItem;
    ++cursor;
    item.counted = true;
    item.count = count;
    return Status::Ok;
}

struct Walk {
    Status status;
    int length;
};

// Carries out the items one by one; act(item, position) returns false when it cannot.
template <typename Act>
Walk walkFormat(const char* format, Act&& act)
{
    long long position = 0;
    if (format == nullptr)
        return {Status::End, 0};
    Item item;
    for (const char* cursor = format;;) {
        const Status status = readItem(cursor, item);
        if (status != Status::Ok)
            return {status, static_cast<int>(position)};
        if (position + item.length() > kMaxPackedLength || !act(item, static_cast<int>(position)))
            return {Status::FaultyItem, static_cast<int>(position)};
        position += item.length();
    }
}

void putValue(unsigned char* out, unsigned int value, const LetterRule& rule)
{
    for (int i = 0; i < rule.width; ++i) {
        const int shift = 8 * (rule.highByteFirst ? rule.width - 1 - i : i);
        out[i] = static_cast<unsigned char>(value >> shift);
    }
}

unsigned int getValue(const unsigned char* in, const LetterRule& rule)
{
    unsigned int value = 0;
    for (int i = 0; i < rule.width; ++i) {
        const int shift = 8 * (rule.highByteFirst ? rule.width - 1 - i : i);
        value |= static_cast<unsigned int>(in[i]) << shift;
    }
    return value;
}

// Elements as they lie in memory; n and N reverse the bytes inside each element.
void copyElements(unsigned char* out, const unsigned char* in, const Item& item)
{
    const std::size_t width = static_cast<std::size_t>(item.rule->width);
    const std::size_t count = static_cast<std::size_t>(item.count);
    if (!item.rule->highByteFirst) {
        std::memcpy(out, in, width * count);
        return;
    }
    for (std::size_t element = 0; element < count; ++element) {
        for (std::size_t i = 0; i < width; ++i)
            out[element * width + i] = in[element * width + width - 1 - i];
    }
}

// out has room for the item. Only the buffer packer can pass over bytes; the array
// packer has none to pass over and adds zeros instead.
bool packItem(const Item& item, unsigned char* out, va_list* args, bool canPassOver)
{
    switch (item.rule->kind) {
    case Kind::PassOver:
        if (canPassOver)
            return true;
        [[fallthrough]];
    case Kind::Zero:
        std::memset(out, 0, static_cast<std::size_t>(item.count));
        return true;
    case Kind::Value:
        break;
    }
    if (!item.counted) {
        putValue(out, static_cast<unsigned int>(va_arg(*args, int)), *item.rule);
        return true;
    }
    const auto* source = static_cast<const unsigned char*>(va_arg(*args, const void*));
    if (source == nullptr)
        return false;
    copyElements(out, source, item);
    return true;
}

bool unpackItem(const Item& item, const unsigned char* in, va_list* args)
{
    if (item.rule->kind != Kind::Value)
        return true;
    void* target = va_arg(*args, void*);
    if (target == nullptr)
        return false;
    if (item.counted) {
        copyElements(static_cast<unsigned char*>(target), in, item);
        return true;
    }
    const unsigned int value = getValue(in, *item.rule);
    switch (item.rule->width) {
    case 1:
        *static_cast<unsigned char*>(target) = static_cast<unsigned char>(value);
        break;
    case 2:
        *static_cast<unsigned short*>(target) = static_cast<unsigned short>(value);
        break;
    default:
        *static_cast<unsigned int*>(target) = value;
        break;
    }
    return true;
}

} // namespace

int VDataPack(unsigned char* buffer, const char* format, va_list args)
{
    va_list local;
    va_copy(local, args);
    const Walk walk = walkFormat(format, [&](const Item& item, int position) {
        return buffer != nullptr && packItem(item, buffer + position, &local, true);
    });
    va_end(local);
    switch (walk.status) {
    case Status::End:
    case Status::Ok:
        return walk.length;
    case Status::UnknownCharacter:
        return 0;
    case Status::FaultyItem:
        break;
    }
    return -1;
}

int DataPack(unsigned char* buffer, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result = VDataPack(buffer, format, args);
    va_end(args);
    return result;
}

QByteArray VByteArrayPack(const char* format, va_list args)
{
    QByteArray bytes;
    va_list local;
    va_copy(local, args);
    const Walk walk = walkFormat(format, [&](const Item& item, int position) {
        if (item.counted && item.rule->kind != Kind::Value)
            return false;
        bytes.resize(position + static_cast<int>(item.length()));
        return packItem(item, reinterpret_cast<unsigned char*>(bytes.data()) + position, &local, false);
    });
    va_end(local);
    return walk.status == Status::End ? bytes : QByteArray();
}

QByteArray ByteArrayPack(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const QByteArray result = VByteArrayPack(format, args);
    va_end(args);
    return result;
}

int VDataUnpack(const unsigned char* data, const char* format, va_list args)
{
    va_list local;
    va_copy(local, args);
    const Walk walk = walkFormat(format, [&](const Item& item, int position) {
        return data != nullptr && unpackItem(item, data + position, &local);
    });
    va_end(local);
    return walk.status == Status::End ? walk.length : -1;
}

int DataUnpack(const unsigned char* data, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result = VDataUnpack(data, format, args);
    va_end(args);
    return result;
}
