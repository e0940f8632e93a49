#pragma once

#include <QtCore/QByteArray>

#include <string>
#include <vector>

struct BenchDocument
{
    std::string name; ///< "twitter", "canada" or "citm"
    QByteArray text;
};

/**
 * The documents of the comparison.
 * @param argc,argv the program's arguments; one that is a folder overrules the folder of the build and is taken out.
 * @return empty, with the reason on standard error, when one of them cannot be read.
 */
std::vector<BenchDocument> loadDocuments(int& argc, char** argv);
