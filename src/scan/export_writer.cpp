#include "scan/export_writer.h"

#include <charconv>

namespace kelvane {
namespace {

void appendNumber(std::string& out, std::uint64_t value) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    out.append(digits, end);
}

void appendField(std::string& out, std::string_view key, std::uint64_t value) {
    out += ",\"";
    out += key;
    out += "\":";
    appendNumber(out, value);
}

}  // namespace

ExportInfo ExportInfo::of(const struct stat& status) {
    ExportInfo info;
    info.asize = status.st_size > 0 ? static_cast<std::int64_t>(status.st_size) : 0;
    info.dsize = static_cast<std::int64_t>(status.st_blocks) * 512;
    info.notRegular = !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
    if (!S_ISDIR(status.st_mode) && status.st_nlink >= 2) {
        info.ino = status.st_ino;
        info.nlink = static_cast<std::uint32_t>(status.st_nlink);
    }
    return info;
}

void ExportWriter::header(std::string_view progver, std::int64_t timestamp) {
    out_ += "[1,2,{\"progname\":\"kelvane-scan\",\"progver\":";
    appendString(out_, progver);
    out_ += ",\"timestamp\":";
    appendNumber(out_, timestamp > 0 ? static_cast<std::uint64_t>(timestamp) : 0);
    out_ += "},\n";
    needComma_ = false;
}

void ExportWriter::footer() {
    out_ += "]\n";
}

void ExportWriter::separate() {
    if (needComma_) out_ += ",\n";
    needComma_ = true;
}

void ExportWriter::beginFolder(std::string_view name, const ExportInfo& info) {
    separate();
    out_ += '[';
    object(name, info);
}

void ExportWriter::endFolder() {
    out_ += ']';
    needComma_ = true;
}

void ExportWriter::item(std::string_view name, const ExportInfo& info) {
    separate();
    object(name, info);
}

void ExportWriter::object(std::string_view name, const ExportInfo& info) {
    out_ += "{\"name\":";
    appendString(out_, name);
    if (info.asize > 0) appendField(out_, "asize", static_cast<std::uint64_t>(info.asize));
    if (info.dsize > 0) appendField(out_, "dsize", static_cast<std::uint64_t>(info.dsize));
    if (info.dev) appendField(out_, "dev", *info.dev);
    if (info.nlink >= 2) {
        appendField(out_, "ino", info.ino);
        out_ += ",\"hlnkc\":true";
        appendField(out_, "nlink", info.nlink);
    }
    if (info.readError) out_ += ",\"read_error\":true";
    if (info.otherFileSystem) out_ += ",\"excluded\":\"othfs\"";
    if (info.notRegular) out_ += ",\"notreg\":true";
    out_ += '}';
    // A folder's entries follow its info object inside its array.
    needComma_ = true;
}

void ExportWriter::appendString(std::string& out, std::string_view bytes) {
    static constexpr char kHex[] = "0123456789abcdef";
    out += '"';
    std::size_t plain = 0;  // start of the run of bytes copied as they are
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto c = static_cast<unsigned char>(bytes[i]);
        if (c >= 0x20 && c != '"' && c != '\\' && c != 0x7f) continue;
        out.append(bytes.data() + plain, i - plain);
        plain = i + 1;
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                out += "\\u00";
                out += kHex[c >> 4];
                out += kHex[c & 0xf];
        }
    }
    out.append(bytes.data() + plain, bytes.size() - plain);
    out += '"';
}

}  // namespace kelvane
