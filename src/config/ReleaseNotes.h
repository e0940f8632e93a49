#pragma once

#include <Norvale/cVersion.h>

#include <QtCore/QString>
#include <QtCore/QVector>

class cFeatureInstance;

/// What a version of a feature brings, in the language of the reader.
struct cReleaseNote
{
    cVersion version;
    QString text; // without blank space around it; lines end in "\n"
};

/// The release notes of catalogues.
namespace ReleaseNotes {

/// So many versions of a feature keep their notes on a site: the newest.
constexpr int KeptVersions = 10;

/// Characters of one text; what is beyond is cut off.
constexpr int LongestText = 4000;

/**
 * What a host shows before it replaces @p installed, which is null when there is none, by @p available: the notes of
 * the versions above the installed one, up to the one that is offered, newest first. Where something new comes, or the
 * feature changes its repository, only those of what is offered.
 *
 * @param locale as Corvane::currentLocale() has it. Its language counts; where there is no text in it, that in "en-us"
 * is taken, and else the first.
 */
QVector<cReleaseNote> between(const cFeatureInstance* installed, const cFeatureInstance& available,
                              const QString& locale);

} // namespace ReleaseNotes
