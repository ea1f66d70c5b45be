// SPDX-License-Identifier: MIT
#include <oktinspect/recoverycheck.h>

#include <oktinspect/objecttable.h>
#include <oktinspect/verifier.h>

#include <oktformat/guids.h>
#include <oktformat/valuewalk.h>

#include <map>
#include <optional>
#include <set>
#include <string>

namespace okt
{

namespace
{

struct IdOrder
{
    bool operator()(_GUID const &left, _GUID const &right) const { return isBelow(left, right); }
};

class RecoveryChecker
{
public:
    explicit RecoveryChecker(Recovery &recovery) : m_recovery(recovery)
    {
        std::vector<Recovery::Loss> const &losses = recovery.losses();
        m_check.lossesNamed.resize(losses.size());
        for (std::size_t i = 0; i < losses.size(); ++i)
        {
            bool const isHeader = i == 0 && !recovery.isHeaderKept();
            if (losses[i].isObject)
                ++m_check.lost;
            else if (!isHeader)
                m_check.leftOut += losses[i].end - losses[i].begin;
            if (losses[i].object.id)
                m_lost.emplace(*losses[i].object.id, i);
        }
    }

    RecoveryCheck run(std::string const &name, ModuleLookup const &moduleOf, OnProgress const &onProgress)
    {
        RecoveredFile &file = m_recovery.file();
        VerifyOptions options;
        options.onFinding = [this](Finding const &finding) { take(finding); };
        options.onProgress = onProgress;
        options.moduleOf = moduleOf;
        options.name = name;
        m_check.verdict = verify(file, options).verdict;
        remnants();
        for (RecoveryCheck::MissingId &missing : m_check.missing)
            if (missing.first.object >= 0)
                missing.namer = labelOf(examined(missing.first.object));
        describe(m_check.doubts);
        describe(m_check.infos);
        m_check.doubtfulObjects = static_cast<std::int64_t>(m_doubtful.size());
        m_check.isClean = m_check.lost == 0 && m_check.leftOut == 0 && m_recovery.isHeaderKept() &&
                          m_recovery.mends().empty() && m_check.doubts.empty() && m_check.missing.empty() &&
                          m_check.verdict.errors == 0 && m_check.verdict.warnings == 0;
        return std::move(m_check);
    }

private:
    void take(Finding const &finding)
    {
        if (finding.severity == Finding::Severity::Info)
        {
            m_check.infos.push_back({finding, {}, 0, -1});
            return;
        }
        if (finding.named)
            return takeMissing(finding);
        m_check.doubts.push_back({finding, {}, 0, -1});
        if (finding.object >= 0)
            m_doubtful.insert(finding.object);
        else if (finding.code != Finding::Code::Order)
            m_check.isHeaderDoubtful = true;
    }

    /// What the damaged file tells and the new one does not.
    void remnants()
    {
        std::int64_t at = findHeader(m_recovery.file()).end;
        for (Recovery::Object const &object : m_recovery.objects())
        {
            if (object.isRemnant)
            {
                Finding remnant = makeFinding(Finding::What::Remnant, at);
                remnant.object = at;
                remnant.id = object.id;
                take(remnant);
            }
            at += object.size;
        }
    }

    void takeMissing(Finding const &finding)
    {
        if (auto const lost = m_lost.find(*finding.named); lost != m_lost.end())
        {
            ++m_check.lossesNamed[lost->second];
            return;
        }
        auto const [place, isNew] = m_missing.emplace(*finding.named, m_check.missing.size());
        if (isNew)
            m_check.missing.push_back({*finding.named, finding, {}, 0});
        ++m_check.missing[place->second].times;
    }

    /// The object at that offset. Many findings in a row are about the same one, which may be as long as the file.
    Stretch const &examined(std::int64_t offset)
    {
        if (!m_examined || m_examined->begin != offset)
            m_examined = ObjectScan(m_recovery.file(), 0).examine(offset);
        return *m_examined;
    }

    /// Fills in what there is to say about the objects meant.
    void describe(std::vector<RecoveryCheck::Remark> &remarks)
    {
        RecoveredFile &file = m_recovery.file();
        for (RecoveryCheck::Remark &remark : remarks)
        {
            if (remark.finding.object < 0)
                continue;
            Stretch const &object = examined(remark.finding.object);
            remark.object = labelOf(object);
            remark.size = object.size();
            remark.begin = file.inDamaged(object.begin);
            if (remark.finding.severity != Finding::Severity::Info && m_doubtful.count(object.begin) != 0 &&
                m_measured.insert(object.begin).second)
                m_check.doubtfulBytes += object.size();
        }
    }

    Recovery &m_recovery;
    RecoveryCheck m_check;
    std::optional<Stretch> m_examined;
    std::map<_GUID, std::size_t, IdOrder> m_lost;    ///< to their losses
    std::map<_GUID, std::size_t, IdOrder> m_missing; ///< to their places in the list
    std::set<std::int64_t> m_doubtful;               ///< where the objects begin
    std::set<std::int64_t> m_measured;
};

} // namespace

RecoveryCheck checkRecovery(Recovery &recovery, std::string const &name, ModuleLookup const &moduleOf,
                            OnProgress const &onProgress)
{
    return RecoveryChecker(recovery).run(name, moduleOf, onProgress);
}

} // namespace okt
