// SPDX-License-Identifier: MIT
#include <oktcatalog/filereaders.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>

#include <algorithm>
#include <chrono>
#include <system_error>

namespace okt
{

namespace
{

std::string_view viewOf(CByteArray const &bytes)
{
    return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
}

} // namespace

std::int64_t currentNanoseconds()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

FileAnswer answerTo(FileTask const &task, UpdateOptions const &options)
{
    FileAnswer answer;
    std::string const &path = task.file->path;
    std::optional<FileStamp> const before = options.stampOf(path);
    answer.isGone = !before;
    if (!before)
        return answer;
    answer.stamp = *before;
    answer.lookedNs = currentNanoseconds();
    try
    {
        CByteArray bytes = readBytes(utf8Path(path));
        if (options.stampOf(path) != before)
            answer.lookedNs = 0; // it is being written
        if (!task.knownDigest.empty() && options.digestOf(viewOf(bytes)) == task.knownDigest)
            return answer;
        answer.rows = rowsOf(viewOf(bytes), options.digestOf);
        answer.rows->path = path;
        answer.rows->modifiedNs = answer.stamp.modifiedNs;
        answer.rows->lookedNs = answer.lookedNs;
        if (!answer.rows->isPlain)
            answer.bytes = std::move(bytes);
    }
    catch (Failure const &failure)
    {
        answer.fault = failure.what();
    }
    return answer;
}

FileReaders::FileReaders(std::vector<FileTask> const &tasks, UpdateOptions const &options) : m_tasks(tasks), m_options(options)
{
    constexpr std::size_t kMostThreads = 8;
    constexpr std::size_t kAhead = 8; // files for each thread
    std::size_t const threads =
        std::min({kMostThreads, std::max<std::size_t>(1, std::thread::hardware_concurrency()), tasks.size()});
    m_slots.resize(std::max<std::size_t>(1, threads * kAhead));
    m_threads.reserve(threads);
    auto const start = [this, threads] {
        try
        {
            for (std::size_t i = 0; i < threads; ++i)
                m_threads.emplace_back([this] { work(); });
        }
        catch (std::system_error const &)
        {
            // With fewer it takes longer; without any, next() reads.
        }
    };
    if (options.startThreads)
        options.startThreads(start);
    else
        start();
}

FileReaders::~FileReaders()
{
    {
        std::lock_guard const lock(m_mutex);
        m_isOver = true;
    }
    m_change.notify_all();
    for (std::thread &thread : m_threads)
        thread.join();
}

void FileReaders::work()
{
    for (;;)
    {
        std::size_t number = 0;
        {
            std::unique_lock lock(m_mutex);
            m_change.wait(lock,
                          [this] { return m_isOver || m_begun == m_tasks.size() || m_begun < m_answered + m_slots.size(); });
            if (m_isOver || m_begun == m_tasks.size())
                return;
            number = m_begun++;
        }
        Slot made;
        try
        {
            made.answer = answerTo(m_tasks[number], m_options);
        }
        catch (...)
        {
            made.thrown = std::current_exception();
        }
        made.isReady = true;
        {
            std::lock_guard const lock(m_mutex);
            m_slots[number % m_slots.size()] = std::move(made);
        }
        m_change.notify_all();
    }
}

FileAnswer FileReaders::next()
{
    if (m_threads.empty())
        return answerTo(m_tasks[m_answered++], m_options);
    Slot taken;
    {
        std::unique_lock lock(m_mutex);
        Slot &slot = m_slots[m_answered % m_slots.size()];
        m_change.wait(lock, [&slot] { return slot.isReady; });
        taken = std::move(slot);
        slot = {};
        ++m_answered;
    }
    m_change.notify_all();
    if (taken.thrown)
        std::rethrow_exception(taken.thrown);
    return std::move(*taken.answer);
}

} // namespace okt
