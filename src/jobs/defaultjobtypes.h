// SPDX-License-Identifier: MIT
#pragma once

class Taskmill_JobTypeList;

/// Each builder adds its job type to the list when the program is installed, and does nothing otherwise.
void Taskmill_AddDefaultVeltra(Taskmill_JobTypeList &list);
/// Gaussian and GaussianW, each for itself.
void Taskmill_AddDefaultGaussian(Taskmill_JobTypeList &list);
void Taskmill_AddDefaultGMMX(Taskmill_JobTypeList &list);
void Taskmill_AddDefaultCubegen(Taskmill_JobTypeList &list);
void Taskmill_AddDefaultFormchk(Taskmill_JobTypeList &list);
void Taskmill_AddDefaultFreqchk(Taskmill_JobTypeList &list);
void Taskmill_AddDefaultCubman(Taskmill_JobTypeList &list);

/// All of them, in the order above, which decides the type of a file that several match.
void Taskmill_AddDefaultJobTypes(Taskmill_JobTypeList &list);
