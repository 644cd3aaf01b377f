// Decompresses arbitrary bytes; also compresses them and decompresses the result.

#include "fuzztarget.h"

#include <common/tools/qcompressor.h>

using tools::QCompressor;

void RunInput(const QByteArray& input)
{
    QByteArray output;
    QCompressor::gzipDecompress(input, output);

    const int level = input.isEmpty() ? 0 : input.front();
    QByteArray packed;
    Require(QCompressor::gzipCompress(input, packed, level), "anything can be packed");
    Require(QCompressor::gzipDecompress(packed, output) && output == input,
            "unpacking gives what was packed");
}
