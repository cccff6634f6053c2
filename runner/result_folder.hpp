#pragma once

#include "runner/descriptor.hpp"
#include "runner/process.hpp"

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace runner
{

/// Says what cannot be created or written, and why.
class FolderError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

using Milliseconds = std::chrono::milliseconds;

/// An answer to the client.
struct Answer
{
    std::uint64_t offset; ///< How much output had come when it was sent.
    std::string text;
    Milliseconds time; ///< Since the start.
};

/// Which bytes of the output came when, in few entries.
class ReadTimes
{
  public:
    /// Enters a read of output that begins at `offset`.
    void add(std::uint64_t offset, Milliseconds time);

    const std::vector<std::pair<std::uint64_t, Milliseconds>>& entries() const
    {
        return reads;
    }

  private:
    std::vector<std::pair<std::uint64_t, Milliseconds>> reads;
    Milliseconds merged{5}; ///< Reads closer than this to the entry before belong to it.
};

/// What run.json tells.
struct Circumstances
{
    std::vector<std::string> words; ///< What was asked: the activity and its options.
    std::string client;
    std::string controller;
    std::chrono::system_clock::time_point started;
    std::chrono::system_clock::time_point ended;
    ProcessEnd client_end;
    std::vector<Answer> answers;
    std::string end;     ///< "complete", "timeout", "interrupted" or "client-ended".
    std::string problem; ///< Why it is not complete; empty if it is.
    ReadTimes reads;
};

/// As in RFC 3339, in UTC: "2026-11-21T22:35:00.123Z".
std::string time_text(std::chrono::system_clock::time_point time);

/// What run.json holds.
std::string run_json(const Circumstances& circumstances);

/// A folder's name made of controller and time.
std::string default_folder(std::string_view controller, std::chrono::system_clock::time_point time);

/// The folder that keeps a run. Files get their names when they are complete and synced; until then
/// run.json says that the run was interrupted.
class ResultFolder
{
  public:
    /// Creates the folder if there is none. Raises `FolderError`, also if there is a result in it
    /// which must not be overwritten, or another process writes to it.
    ResultFolder(const std::string& path, bool overwrite, const Circumstances& circumstances);

    /// Append what the client printed. Raise `FolderError`.
    void add_output(std::string_view bytes);
    void add_errors(std::string_view bytes);

    /// Completes the files. Whatever fails, the others are kept. Raises `FolderError`.
    void finish(const Circumstances& circumstances);

    const std::string& path() const
    {
        return folder;
    }

  private:
    /// A file that gets its name at the end.
    struct File
    {
        std::string name;
        Descriptor descriptor = {};
    };

    bool exists(const std::string& name) const;
    void open(File& file);
    void write(const File& file, std::string_view bytes);
    void keep(File& file);
    void write_run_json(const Circumstances& circumstances);
    void remove(const std::string& name);
    void sync_folder() const;
    [[noreturn]] void fail(const std::string& name) const;

    std::string folder;
    Descriptor own;
    File output{"transcript.txt"};
    File errors{"stderr.txt"};
};

} // namespace runner
