#include "webstep/foundation/WebStream.h"

#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace {

using Block = std::vector<unsigned char>;

struct Stream {
    // Shared so that a mapped view can keep an outgrown block alive.
    std::shared_ptr<Block> block = std::make_shared<Block>();
};

// Mapped views: the pointer handed out by Map -> one pin per Map call.
std::mutex& MappingsMutex() {
    static std::mutex mutex;
    return mutex;
}

std::multimap<const void*, std::shared_ptr<Block>>& Mappings() {
    static std::multimap<const void*, std::shared_ptr<Block>> mappings;
    return mappings;
}

Stream* FromHandle(void* handle) {
    return static_cast<Stream*>(handle);
}

}  // namespace

void* CWebStream::Create(const char*) {
    return new Stream();
}

bool CWebStream::Destroy(void* handle) {
    if (handle == nullptr) {
        return false;
    }
    delete FromHandle(handle);
    return true;
}

IStream* CWebStream::GetIStream(void* handle) {
    return static_cast<IStream*>(handle);
}

bool CWebStream::Write(void* handle, unsigned char* const data, unsigned long size,
                       unsigned long* written) {
    Stream* stream = FromHandle(handle);
    if (stream == nullptr || (data == nullptr && size != 0)) {
        return false;
    }
    if (size != 0) {
        std::shared_ptr<Block>& block = stream->block;
        const bool mapped = block.use_count() > 1;
        if (mapped && block->size() + size > block->capacity()) {
            // Growing in place would pull the block from under a mapped view.
            auto grown = std::make_shared<Block>();
            grown->reserve(block->size() + size);
            grown->assign(block->begin(), block->end());
            block = std::move(grown);
        }
        block->insert(block->end(), data, data + size);
    }
    if (written != nullptr) {
        *written = size;
    }
    return true;
}

bool CWebStream::Read(void* handle, unsigned long& position, unsigned char* buffer,
                      unsigned long size, unsigned long* read) {
    Stream* stream = FromHandle(handle);
    if (stream == nullptr || (buffer == nullptr && size != 0)) {
        return false;
    }
    const Block& block = *stream->block;
    // A position past the end is a valid seek; the read then yields nothing.
    unsigned long count = 0;
    if (position < block.size()) {
        const unsigned long available = static_cast<unsigned long>(block.size()) - position;
        count = size < available ? size : available;
        std::memcpy(buffer, block.data() + position, count);
    }
    position += count;
    if (read != nullptr) {
        *read = count;
    }
    return true;
}

unsigned long CWebStream::GetSize(void* handle) {
    Stream* stream = FromHandle(handle);
    if (stream == nullptr) {
        return 0;
    }
    return static_cast<unsigned long>(stream->block->size()) & 0xFFFFFFFFul;
}

unsigned char* CWebStream::Map(void* handle) {
    Stream* stream = FromHandle(handle);
    if (stream == nullptr || stream->block->empty()) {
        return nullptr;
    }
    unsigned char* view = stream->block->data();
    std::lock_guard<std::mutex> lock(MappingsMutex());
    Mappings().emplace(view, stream->block);
    return view;
}

bool CWebStream::Unmap(void* pointer) {
    if (pointer == nullptr) {
        return false;
    }
    std::shared_ptr<Block> released;  // freed after the lock is dropped
    {
        std::lock_guard<std::mutex> lock(MappingsMutex());
        auto found = Mappings().find(pointer);
        if (found == Mappings().end()) {
            return false;
        }
        released = std::move(found->second);
        Mappings().erase(found);
    }
    return true;
}
