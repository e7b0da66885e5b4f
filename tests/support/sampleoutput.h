// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

/// What a program that is known prints, cut down to the lines that say something.
namespace SampleOutput {
inline QByteArray Banner()
{
    return "     |                  x T B                   |\n   * xtb version 6.5.1 (579679a) compiled by "
           "x\n";
}
/// With its energy in hartree.
inline QByteArray Step(int number, const QByteArray &energy = "-5.07")
{
    return "........... CYCLE    " + QByteArray::number(number) +
           " ...........\n * total energy  : " + energy + " Eh     change  -0.1E-01 Eh\n";
}
inline QByteArray Unconverged()
{
    return "   *** FAILED TO CONVERGE GEOMETRY OPTIMIZATION IN 3 ITERATIONS ***\n";
}
inline QByteArray End()
{
    return "* finished run on 2024/01/01 at 10:00:00.000\n";
}
inline QByteArray Normal()
{
    return Banner() + Step(1) + End();
}
} // namespace SampleOutput
