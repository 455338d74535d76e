// A small provider of snapshots that keeps all the rules: the disk of /dev/NAME is the file
// disks/NAME below the install root, its snapshot disks/NAME.snap. Its tool is the copying of a
// file, which fails while there is a file tool_fails when the provider starts.
#ifndef KZFI_TESTS_SNAPSHOTS_H
#define KZFI_TESTS_SNAPSHOTS_H

#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>

#include "twin.h"

class Snapshots : public Sound {
  public:
    int init() override {
        char* text = nullptr;
        if (kzfi_get_install_root(&text) == KZFI_OK && text != nullptr) {
            root = text;
            kzfi_free_buf(text, root.string().size() + 1);
        }
        toolFails = std::filesystem::exists(root / "tool_fails");
        return Sound::init();
    }

    int prepare(char* session, kfi_splitnode** nodes, int count, int options) override {
        const int status = Sound::prepare(session, nodes, count, options);
        if (status == KZFI_OK && nodes[0] != nullptr) {
            const std::lock_guard<std::mutex> guard(lock);
            prepared.insert(nameOf(nodes[0]->node));
        }
        return status;
    }

    int make(char*, kfi_splitnode** nodes, int count, kzfi_objid*** made, int* madeCount) override {
        KZFI_TWIN_SCOPE;
        if (nodes == nullptr || count != 1 || nodes[0] == nullptr || made == nullptr ||
            madeCount == nullptr) {
            return KZFI_ERR_INVALID;
        }
        const std::string name = nameOf(nodes[0]->node);
        if (!isPrepared(name)) {
            return refuse(count);
        }
        kzfi_objid** const list = static_cast<kzfi_objid**>(kzfi_alloc_buf(sizeof(kzfi_objid*)));
        const std::string snapshot = snapshotOf(name);
        kzfi_objid* const id = kzfi_get_objid(snapshot.c_str(), snapshot.size() + 1, 3);
        if (!hasRoom(list) || !hasId(id) || !copy(diskOf(name), fileOf(name))) {
            kzfi_free_buf(list, sizeof(kzfi_objid*));
            return refuse(count);
        }
        list[0] = id;
        *made = list;
        *madeCount = 1;
        return KZFI_OK;
    }

    int restore(kzfi_objid** primaries, kzfi_objid** snapshots, long count, char*, char*, char***,
                long*, long, long*) override {
        KZFI_TWIN_SCOPE;
        if (primaries == nullptr || snapshots == nullptr || count != 1) {
            return KZFI_ERR_INVALID;
        }
        kfi_domain node = {};
        node.objid = primaries[0];
        const std::string name = nameOf(&node);
        return putBack(name) ? KZFI_OK : refuse(1);
    }

    int dispose(kfi_domain* primary, kfi_domain*, kfi_splitnode*, kfi_disposition) override {
        KZFI_TWIN_SCOPE;
        const std::string name = nameOf(primary);
        if (name.empty()) {
            return KZFI_ERR_INVALID;
        }
        forget(name);
        std::error_code error;
        return std::filesystem::remove(fileOf(name), error) ? KZFI_OK : refuse(1);
    }

  protected:
    using Path = std::filesystem::path;

    Path diskOf(const std::string& name) const { return root / "disks" / Path(name).filename(); }
    Path fileOf(const std::string& name) const { return diskOf(name).string() + ".snap"; }

    virtual std::string snapshotOf(const std::string& name) { return name + "#snap"; }
    virtual bool hasRoom(kzfi_objid** list) { return list != nullptr; }
    virtual bool hasId(kzfi_objid* id) { return id != nullptr; }
    virtual bool putBack(const std::string& name) { return copy(fileOf(name), diskOf(name)); }
    virtual void tidy(const Path& half) { std::filesystem::remove(half); }

    bool copy(const Path& from, const Path& to) {
        const Path half = to.string() + ".part";
        std::error_code error;
        if (toolFails && std::filesystem::exists(from, error)) {
            std::ofstream(half) << "half";
            tidy(half);
            return false;
        }
        std::filesystem::copy_file(from, half, error);
        if (!error) {
            std::filesystem::rename(half, to, error);
        }
        return !error;
    }

  private:
    bool isPrepared(const std::string& name) {
        const std::lock_guard<std::mutex> guard(lock);
        return prepared.count(name) != 0;
    }

    void forget(const std::string& name) {
        const std::lock_guard<std::mutex> guard(lock);
        prepared.erase(name);
    }

    Path root;
    bool toolFails = false;
    std::mutex lock;
    std::set<std::string> prepared;
};

#endif
