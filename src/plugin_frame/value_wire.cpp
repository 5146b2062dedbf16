#include "plugin_frame/value_wire.h"

#include "plugin_frame/little_endian.h"
#include "plugin_frame/value_chunk.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace VelmorValueSet {

namespace {

// A body written from a set is read in one pass over its bytes. A nested map whose keys repeat is
// shorter than its declared length, and reading resumes inside it; nested deep enough, such maps
// make the same bytes be read again at every level and, combined, far more often than the body is
// long. No writer repeats keys, so a body that needs more than a few passes is refused as hostile.
constexpr uint64_t kReadPasses = 4;

// Chunks are sized from the body: a monitor answer (its values and the room reserved for its
// entries) fits one, a small request takes little.
constexpr std::size_t kChunkBytesPerInputByte = 8;
constexpr std::size_t kSmallestChunk = 512;
constexpr std::size_t kLargestChunk = 16384;

// The shortest entry: a key length byte of 0 and a value header.
constexpr std::size_t kSmallestEntry = 1 + ValueWire::kValueHeaderSize;
constexpr std::size_t kEntriesReservedAtMost = 64;

uint64_t Saturated(uint64_t size) {
    return std::min(size, ValueWire::kTooBig);
}

} // namespace

uint64_t ValueWire::BodySize(const ValueSet& set, bool storeMapLengths) {
    uint64_t total = 0;
    for (const auto& [key, value] : set) {
        if (value) {
            total = Saturated(total + 1 + key.size() + ValueSize(*value, storeMapLengths));
        }
    }
    return total;
}

uint64_t ValueWire::ValueSize(const OrvexValue& value, bool storeMapLengths) {
    if (value.kind_ != Kind::Map) {
        return kValueHeaderSize + uint64_t{value.length_};
    }
    const uint64_t nested = BodySize(*value.storage_.map, storeMapLengths);
    if (storeMapLengths && nested < kTooBig) {
        value.length_ = static_cast<uint32_t>(nested);
    }
    return Saturated(kValueHeaderSize + nested);
}

// Writes into [at, end) and returns where it stopped, or null when something does not fit or is
// not writable. The cursor stays in a local so the compiler can keep it in a register.
class ValueWire::Writer {
public:
    static uint8_t* Body(const ValueSet& set, uint8_t* at, const uint8_t* end) {
        for (const auto& [key, value] : set) {
            if (!value) {
                continue;
            }
            if (key.size() >= Room(at, end)) {
                return nullptr;
            }
            *at++ = static_cast<uint8_t>(key.size());
            at = Copy(at, key.data(), key.size());
            at = Value(*value, at, end);
            if (at == nullptr) {
                return nullptr;
            }
        }
        return at;
    }

    static uint8_t* Value(const OrvexValue& value, uint8_t* at, const uint8_t* end) {
        if (!IsWireKind(value.kind_) || Room(at, end) < kValueHeaderSize) {
            return nullptr;
        }
        *at++ = static_cast<uint8_t>(value.kind_);
        StoreLittleEndian(at, value.length_);
        at += sizeof(uint32_t);
        if (value.length_ > Room(at, end)) {
            return nullptr;
        }
        if (value.kind_ == Kind::Map) {
            // The cached length was measured just before; the nested body must match it exactly.
            uint8_t* nestedEnd = at + value.length_;
            return Body(*value.storage_.map, at, nestedEnd) == nestedEnd ? nestedEnd : nullptr;
        }
        if (!value.OnHeap() && Room(at, end) >= OrvexValue::kInlineBytes) {
            // A short payload goes out as one fixed-size copy; the bytes past its length are
            // overwritten by what follows, and the room check keeps them inside the body.
            std::memcpy(at, value.storage_.inline_bytes, OrvexValue::kInlineBytes);
            return at + value.length_;
        }
        return Copy(at, value.Bytes(), value.length_);
    }

private:
    static std::size_t Room(const uint8_t* at, const uint8_t* end) {
        return static_cast<std::size_t>(end - at);
    }

    // Copies bytes whose size was checked against the room already.
    static uint8_t* Copy(uint8_t* at, const void* bytes, std::size_t size) {
        if (size != 0) {
            std::memcpy(at, bytes, size);
        }
        return at + size;
    }
};

bool ValueWire::WriteBody(const ValueSet& set, std::span<uint8_t> out) {
    return Writer::Body(set, out.data(), out.data() + out.size()) == out.data() + out.size();
}

bool ValueWire::WriteValue(const OrvexValue& value, std::span<uint8_t> out) {
    return Writer::Value(value, out.data(), out.data() + out.size()) == out.data() + out.size();
}

class ValueWire::Reader {
public:
    explicit Reader(std::size_t inputSize)
        : budget_(kReadPasses * inputSize),
          chunkSize_(
              std::clamp(inputSize * kChunkBytesPerInputByte, kSmallestChunk, kLargestChunk)) {}
    ~Reader() {
        if (chunk_ != nullptr) {
            chunk_->ReaderDone();
        }
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    // Reads a body into an empty set. collapsed tells that a key repeated somewhere inside, so the
    // set's body is shorter than the bytes read.
    bool Body(std::span<const uint8_t> body, uint32_t depth, ValueSet& into, bool& collapsed) {
        auto& entries = into.entries_;
        if (!ReserveEntries(entries, EntriesToReserve(body.size()))) {
            return false;
        }
        const uint8_t* at = body.data();
        const uint8_t* const end = at + body.size();
        // The greatest key so far (the last entry's), compared where it lies in the input: the
        // entry's copy of it was just stored in pieces, and reading it back would stall.
        std::string_view last;
        while (at != end) {
            const std::size_t keyLength = *at++;
            if (keyLength + kValueHeaderSize > Left(at, end)) {
                return false;
            }
            const std::string_view key(reinterpret_cast<const char*>(at), keyLength);
            at += keyLength;
            const auto kind = static_cast<Kind>(at[0]);
            const uint32_t length = LoadLittleEndian<uint32_t>(at + 1);
            at += kValueHeaderSize;
            if (length > Left(at, end) || !IsWireKind(kind)) {
                return false;
            }
            // The key and the value header are paid for together, and a scalar's payload with them.
            const std::size_t entryBytes = 1 + keyLength + kValueHeaderSize;
            std::unique_ptr<OrvexValue> value;
            std::size_t advance = length;
            if (kind == Kind::Map) {
                if (Spend(entryBytes)) {
                    value = Map({at, length}, depth, advance, collapsed);
                }
            } else if (Spend(entryBytes + length)) {
                // Spelled out rather than through Scalar, so the common case is inlined here.
                value.reset(IsShort(kind, length) ? ShortScalar(kind, length, at, Left(at, end))
                                                  : LongScalar(kind, length, at));
            }
            if (!value) {
                return false;
            }
            // The set read from a nested body whose keys repeat may measure past the bytes left;
            // reading stops there as at the end.
            at += std::min(advance, Left(at, end));
            // A body written from a set has its keys in order: each entry goes at the end.
            if (entries.empty() || ValueSet::KeyLess(last, key)) {
                entries.emplace_back(key, std::move(value));
                last = key;
                continue;
            }
            auto& slot = into.InsertSlotInside(key);
            collapsed = collapsed || slot != nullptr;
            slot = std::move(value);
        }
        return true;
    }

    // Reads the value at the front of bytes; advance is its size (for a map, the nested body's own
    // size, which is where the next entry is read from).
    std::unique_ptr<OrvexValue> Value(std::span<const uint8_t> bytes, uint32_t depth,
                                      std::size_t& advance, bool& collapsed) {
        if (bytes.size() < kValueHeaderSize) {
            return nullptr;
        }
        const auto kind = static_cast<Kind>(bytes[0]);
        const uint32_t length = LoadLittleEndian<uint32_t>(bytes.data() + 1);
        const std::size_t available = bytes.size() - kValueHeaderSize;
        if (length > available || !IsWireKind(kind)) {
            return nullptr;
        }
        const uint8_t* payload = bytes.data() + kValueHeaderSize;
        std::size_t size = length;
        std::unique_ptr<OrvexValue> value;
        if (kind == Kind::Map) {
            if (Spend(kValueHeaderSize)) {
                value = Map({payload, length}, depth, size, collapsed);
            }
        } else if (Spend(kValueHeaderSize + length)) {
            value.reset(Scalar(kind, length, payload, available));
        }
        advance = kValueHeaderSize + size;
        return value;
    }

private:
    // What a value whose payload fits inside it takes of a chunk.
    static constexpr std::size_t kShortValueFootprint =
        OrvexValue::ChunkFootprint(Kind::Boolean, 0);

    static std::size_t Left(const uint8_t* at, const uint8_t* end) {
        return static_cast<std::size_t>(end - at);
    }

    // Room for the entries of a body, guessed from its size so the set seldom grows: an entry
    // takes at least 6 bytes, and a body past the first few dozen entries grows the set as usual.
    static std::size_t EntriesToReserve(std::size_t bodySize) {
        return std::min(bodySize / kSmallestEntry, kEntriesReservedAtMost);
    }

    // A value of a kind other than map whose payload of length bytes is at payload, followed by
    // available bytes of input in all. Returned raw, for the caller to own at once: a smart
    // pointer would come back through memory on this hot path.
    OrvexValue* Scalar(Kind kind, uint32_t length, const uint8_t* payload, std::size_t available) {
        return IsShort(kind, length) ? ShortScalar(kind, length, payload, available)
                                     : LongScalar(kind, length, payload);
    }

    static bool IsShort(Kind kind, uint32_t length) {
        return OrvexValue::StoredSize(kind, length) <= OrvexValue::kInlineBytes;
    }

    // Most values: numbers and short texts, kept inside the value.
    OrvexValue* ShortScalar(Kind kind, uint32_t length, const uint8_t* payload,
                            std::size_t available) {
        if (!MakeRoom(kShortValueFootprint)) {
            return nullptr;
        }
        OrvexValue* value = OrvexValue::NewIn(*chunk_);
        value->kind_ = kind;
        value->length_ = length;
        CopyPayload(*value, payload, available);
        return value;
    }

    // Texts and blocks too long to be kept inside the value: in the chunk up to a limit, past it
    // on the heap.
    OrvexValue* LongScalar(Kind kind, uint32_t length, const uint8_t* payload) {
        const std::size_t stored = OrvexValue::StoredSize(kind, length);
        if (stored > OrvexValue::kChunkPayloadLimit) {
            auto value = NewValue(kind, length);
            if (!value || !value->Allocate(kind, length, chunk_)) {
                return nullptr;
            }
            std::memcpy(value->storage_.heap, payload, length);
            return value.release();
        }
        if (!MakeRoom(kShortValueFootprint + ValueChunk::Rounded(stored))) {
            return nullptr;
        }
        OrvexValue* value = OrvexValue::NewIn(*chunk_);
        value->PlacePayloadIn(*chunk_, kind, length);
        std::memcpy(value->storage_.heap, payload, length);
        return value;
    }

    // Copies the payload (its length already set) from in, which has available bytes. A short
    // payload is taken as one fixed-size move when the input has the bytes; what lies past its
    // length is never read, except a text's terminator, which is put back.
    static void CopyPayload(OrvexValue& value, const uint8_t* in, std::size_t available) {
        if (!value.OnHeap() && available >= OrvexValue::kInlineBytes) {
            std::memcpy(value.storage_.inline_bytes, in, OrvexValue::kInlineBytes);
            if (value.kind_ == Kind::WideString) {
                StoreLittleEndian(value.storage_.inline_bytes + value.length_, uint16_t{0});
            }
        } else if (value.length_ != 0) {
            std::memcpy(value.Bytes(), in, value.length_);
        }
    }

    // A kind-0 value in the current chunk, with room after it for its payload or nested set.
    std::unique_ptr<OrvexValue> NewValue(Kind kind, uint32_t length) {
        if (!MakeRoom(OrvexValue::ChunkFootprint(kind, length))) {
            return nullptr;
        }
        return std::unique_ptr<OrvexValue>(OrvexValue::NewIn(*chunk_));
    }

    // Room in the current chunk for the entries a body may hold.
    bool ReserveEntries(ChunkVector<ValueSet::Entry>& entries, std::size_t count) {
        const std::size_t bytes = ValueChunk::Rounded(count * sizeof(ValueSet::Entry));
        return count == 0 || (MakeRoom(bytes) && entries.ReserveIn(*chunk_, count));
    }

    // True when the current chunk has room for footprint, after beginning a new one if needed.
    bool MakeRoom(std::size_t footprint) {
        return (chunk_ != nullptr && chunk_->Room() >= footprint) || BeginChunk(footprint);
    }

    bool BeginChunk(std::size_t footprint) {
        ValueChunk* fresh = ValueChunk::Make(std::max(footprint, chunkSize_));
        if (fresh == nullptr) {
            return false;
        }
        if (chunk_ != nullptr) {
            chunk_->ReaderDone();
        }
        chunk_ = fresh;
        return true;
    }

    // A map value read from its nested body. size in: the body's length; out: the size of the
    // set read, shorter than the body when a key repeated inside.
    std::unique_ptr<OrvexValue> Map(std::span<const uint8_t> body, uint32_t depth,
                                    std::size_t& size, bool& collapsed) {
        if (depth >= kMaxDepth) {
            return nullptr;
        }
        auto value = NewValue(Kind::Map, 0);
        if (!value) {
            return nullptr;
        }
        value->MakeMapIn(*chunk_, static_cast<uint32_t>(body.size()));
        bool nestedCollapsed = false;
        if (!Body(body, depth + 1, *value->storage_.map, nestedCollapsed)) {
            return nullptr;
        }
        collapsed = collapsed || nestedCollapsed;
        if (nestedCollapsed) {
            size = static_cast<std::size_t>(BodySize(*value->storage_.map, false));
        }
        return value;
    }

    bool Spend(std::size_t bytes) {
        if (bytes > budget_) {
            return false;
        }
        budget_ -= bytes;
        return true;
    }

    uint64_t budget_;
    std::size_t chunkSize_;
    ValueChunk* chunk_ = nullptr; // held while values are carved from it
};

bool ValueWire::ReadBody(std::span<const uint8_t> body, ValueSet& into) {
    bool collapsed = false;
    return Reader(body.size()).Body(body, 0, into, collapsed);
}

void ValueWire::CopyEntries(const ValueSet& from, std::vector<ValueSet::Entry>& into) {
    // One reader for all the copies, so they share chunks as a read body's values do.
    Reader reader(static_cast<std::size_t>(BodySize(from, true)));
    std::vector<uint8_t> scratch;
    for (const auto& [key, value] : from) {
        const uint64_t size = value ? ValueSize(*value, true) : kTooBig;
        if (size >= kTooBig) {
            continue;
        }
        scratch.resize(static_cast<std::size_t>(size));
        std::size_t advance = 0;
        bool collapsed = false;
        auto copy =
            WriteValue(*value, scratch) ? reader.Value(scratch, 0, advance, collapsed) : nullptr;
        if (copy) {
            into.push_back(ValueSet::Entry{key, std::move(copy)});
        }
    }
}

} // namespace VelmorValueSet
