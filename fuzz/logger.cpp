// The trace log: three threads insert pieces and whole lines at the same time, and each thread's
// must stand in the file whole and in order. Input: pieces, each with a byte that says whose and
// what it is; texts that are repeated have one more, up to 1.7 MB at the most.
#include "fuzz_target.h"
#include "input.h"
#include "private_host.h"

#include "support/log_line.h"
#include "support/logger.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using veskfuzz::require;

constexpr std::size_t kThreads = 3;
constexpr std::size_t kBufferLimit = 0xFFFFF;
constexpr int kMostLongTexts = 2;  // they take their time
// Begins each entry of the file; pieces that contain it are not inserted.
const std::string kEntry = "(T: ";

// A thread for all inputs, so that its buffer in the logger is used again.
class Worker {
public:
    ~Worker() {
        set([] {}, true);
        m_thread.join();
    }

    void start(std::function<void()> work) { set(std::move(work), false); }
    void wait() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_work; });
    }
    std::thread::id id() const { return m_thread.get_id(); }

private:
    void set(std::function<void()> work, bool last) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_work = std::move(work);
        m_last = last;
        m_changed.notify_all();
    }
    void run() {
        std::unique_lock<std::mutex> lock(m_mutex);
        do {
            m_changed.wait(lock, [this] { return static_cast<bool>(m_work); });
            m_work();
            m_work = nullptr;
            m_changed.notify_all();
        } while (!m_last);
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::function<void()> m_work;
    bool m_last = false;
    std::thread m_thread{[this] {
        run();
    }};
};

// What one thread inserts, and the entries that this must make in the file.
class Statements {
public:
    void insert(const std::string& text) {
        m_steps.emplace_back([text] { stg::lout << text; });
        append(text);
    }
    void insertUntilNul(const std::string& text) {
        m_steps.emplace_back([text] { stg::lout << text.c_str(); });
        append(std::string(text.c_str()));
    }
    void insert(int number) {
        m_steps.emplace_back([number] { stg::lout << number; });
        append(std::to_string(number));
    }
    void insert(char character) {
        m_steps.emplace_back([character] { stg::lout << character; });
        append(std::string(1, character));
        if (character == '\n') {
            end();
        }
    }
    // All of a line by one statement.
    void insertLine(const std::string& text, int number) {
        m_steps.emplace_back([text, number] { stg::logLine(text, number); });
        append(text);
        append(std::to_string(number));
        append("\n");
        end();
    }

    void run() const {
        for (const std::function<void()>& step : m_steps) {
            step();
        }
    }
    const std::vector<std::string>& entries() const { return m_entries; }

private:
    // What is too long for a buffer is an entry of its own.
    void append(const std::string& text) {
        m_line += text;
        if (m_line.size() > kBufferLimit) {
            end();
        }
    }
    void end() {
        m_entries.emplace_back(m_line.c_str());  // up to its first NUL
        m_line.clear();
    }

    std::vector<std::function<void()>> m_steps;
    std::string m_line;
    std::vector<std::string> m_entries;
};

// The entries of the file by the thread that made them, without thread and time.
std::map<std::string, std::vector<std::string>> entriesOf(const std::string& file) {
    std::map<std::string, std::vector<std::string>> entries;
    std::size_t begin = 0;
    while (begin < file.size()) {
        require(file.compare(begin, kEntry.size(), kEntry) == 0, "each entry begins with a thread");
        const std::size_t idEnd = file.find(") [", begin);
        const std::size_t timeEnd = idEnd == std::string::npos ? idEnd : file.find("] ", idEnd);
        require(timeEnd != std::string::npos, "each entry has its time");
        const std::size_t end = std::min(file.find(kEntry, timeEnd), file.size());
        const std::size_t idBegin = begin + kEntry.size();
        entries[file.substr(idBegin, idEnd - idBegin)].push_back(
            file.substr(timeEnd + 2, end - timeEnd - 2));
        begin = end;
    }
    return entries;
}

std::string repeated(const std::string& text, std::size_t times) {
    std::string result;
    for (std::size_t i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

std::vector<Statements> statementsOf(veskfuzz::Input input) {
    std::vector<Statements> threads(kThreads);
    int longTexts = 0;
    const auto repeatedText = [&](const std::string& text) {
        const std::size_t times = input.byte();
        const bool isLong = times > 0xF0 && ++longTexts <= kMostLongTexts;
        return repeated(text, isLong ? times * 1000 : times % 16);
    };
    while (!input.empty()) {
        const unsigned kind = input.byte();
        Statements& thread = threads[kind / 64 % kThreads];
        const std::string text = input.text(kind / 8 % 8);
        if (text.find('(') != std::string::npos) {
            continue;
        }
        switch (kind % 8) {
        case 0:
        case 1:
            thread.insert('\n');
            break;
        case 2:
            thread.insert(text);
            break;
        case 3:
            thread.insert(repeatedText(text));
            break;
        case 4:
            thread.insertUntilNul(text);
            break;
        case 5:
            thread.insert(static_cast<int>(input.number()));
            break;
        case 6:
            thread.insertLine(repeatedText(text), static_cast<int>(input.number()));
            break;
        default:
            thread.insert(text.empty() ? '\0' : text[0]);
            break;
        }
    }
    for (Statements& thread : threads) {
        thread.insert('\n');  // nothing is left for the next input
    }
    return threads;
}

class Rig {
public:
    Rig() { stg::lout.startDebug(); }

    void run(const std::vector<Statements>& threads) {
        m_host.write(vesktest::kLogPath, "");
        for (std::size_t i = 0; i < kThreads; ++i) {
            m_workers[i].start([&threads, i] { threads[i].run(); });
        }
        for (Worker& worker : m_workers) {
            worker.wait();
        }
        auto entries = entriesOf(m_host.read(vesktest::kLogPath));
        require(entries.size() == kThreads, "three threads have written");
        for (std::size_t i = 0; i < kThreads; ++i) {
            std::ostringstream id;
            id << m_workers[i].id();
            require(entries[id.str()] == threads[i].entries(),
                    "each thread's entries are in the file, whole and in order");
        }
    }

private:
    vesktest::PrivateHost m_host;
    Worker m_workers[kThreads];
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Rig rig;
    rig.run(statementsOf(veskfuzz::Input(data, size)));
    return 0;
}
