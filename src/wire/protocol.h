// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

/// The line that a client sends last when it wants to hear on the same connection what became of its
/// request. With it the message is complete, so such a client need neither close its side nor fall silent.
/// The answer is one line "accepted=" with the numbers of the jobs, separated by blanks, or "refused=" with
/// the reason.
constexpr std::string_view Taskmill_WireReplyRequest = "clientreply=yes\n";
constexpr std::string_view Taskmill_WireAccepted = "accepted=";
constexpr std::string_view Taskmill_WireRefused = "refused=";

/// A request for an answer that holds this line gets further lines behind "accepted=": for each job, in the
/// order of their numbers, the following keys and their values.
constexpr std::string_view Taskmill_WireDetailedReply = "replydetails=yes";
constexpr std::string_view Taskmill_WireJobID = "jobid=";
constexpr std::string_view Taskmill_WireJobTypeName = "jobtypename=";
constexpr std::string_view Taskmill_WireJobQueue =
    "jobqueue="; ///< one of the first three Taskmill_WireQueues
constexpr std::string_view Taskmill_WireQueuePaused = "queuepaused="; ///< "yes" or "no"
constexpr std::string_view Taskmill_WireJobInputFile = "jobinputfile=";

/// In a submission: the notification has one more line, its last one, with what the job's calculation came
/// to: normal, not-converged, error or none.
constexpr std::string_view Taskmill_WireClientResult = "clientresult=yes";
constexpr std::string_view Taskmill_WireJobResult = "jobresult=";

/// In a submission: what the job takes while it runs, where its input says something else or nothing; numbers
/// from 1 to these. Memory is in units of 2^20 bytes. More than any machine has, and little enough for sums
/// of many jobs.
constexpr std::string_view Taskmill_WireJobCores = "jobcores=";
constexpr std::string_view Taskmill_WireJobMemory = "jobmemory=";
constexpr std::int64_t Taskmill_WireMostCores = 1'000'000;
constexpr std::int64_t Taskmill_WireMostMemoryMB = std::int64_t{1} << 40;

/// The queues in requests and answers; the last two are both the list of the jobs that run at once.
constexpr std::array<std::string_view, 4> Taskmill_WireQueues{"long", "short", "none", "queueless"};

/// A request for an answer that holds this line is refused when no job type has the name that it gives; else
/// the manager would look for another type that fits the file.
constexpr std::string_view Taskmill_WireExactJobType = "jobtypeexact=yes";

/// Actions that only a client with the manager's key may ask for, and only with Taskmill_WireReplyRequest.
/// The answer is the line "accepted=", and then text or one JSON value until the connection ends; or
/// "refused=" with the reason. The actions are listjobs, showjob, killjob, removejob, movejob, holdjob,
/// releasejob, pausequeue, unpausequeue, limitqueue, estimatequeue, setquiethours, setpriority, budget,
/// saveproject, openproject, listjobtypes and quit; what they act on is said by these lines.
constexpr std::string_view Taskmill_WireJobList =
    "joblist="; ///< long, short, queueless or finished; absent for all
constexpr std::string_view Taskmill_WireJobsSince = "jobsince="; ///< only jobs with larger numbers
constexpr std::string_view Taskmill_WireJobNumber = "jobnumber=";
constexpr std::string_view Taskmill_WireJobNumbers = "jobnumbers="; ///< of several, with commas between them
constexpr std::string_view Taskmill_WireMove = "jobmove=";          ///< to move jobs: up, down, top or bottom
/// To hold jobs, and in a submission: a time as Taskmill_StartTimeFromText() reads it, and the number of the
/// job that has to end before.
constexpr std::string_view Taskmill_WireNotBefore = "jobnotbefore=";
constexpr std::string_view Taskmill_WireAfterJob = "jobafter=";
constexpr std::string_view Taskmill_WireTakesRunning =
    "jobrunning=yes";                                             ///< removes the job also when it runs
constexpr std::string_view Taskmill_WireQueueName = "queuename="; ///< long or short
constexpr std::string_view Taskmill_WirePauseLater =
    "queuepause=ended"; ///< to pause: when its jobs have ended
/// To change how the manager starts jobs: quiet hours such as 22:00-06:30, or off; low or normal.
constexpr std::string_view Taskmill_WireQuietHours = "quiethours=";
constexpr std::string_view Taskmill_WireJobPriority = "jobpriority=";
constexpr std::string_view Taskmill_WireQueueLimit = "queuelimit=";
/// "off", or "cores N", "memory M" or both; absent to leave the budget as it is.
constexpr std::string_view Taskmill_WireBudget = "budget=";
constexpr std::string_view Taskmill_WireSaveFile =
    "savefile="; ///< absolute; absent for the project's own file
constexpr std::string_view Taskmill_WireProjectFile = "projectfile="; ///< to open; absolute
/// Also when another file, or what another program wrote, is lost by it; to quit, also when the project is.
constexpr std::string_view Taskmill_WireReplaces = "replaces=yes";
constexpr std::string_view Taskmill_WireKeepsJobs = "keepjobs=yes"; ///< to quit: what runs goes on
constexpr std::string_view Taskmill_WireChoosesFiles =
    "choosefiles=yes"; ///< to show: with the dialog that submits jobs
constexpr std::string_view Taskmill_WireAnswersJson = "answerformat=json";
constexpr std::string_view Taskmill_WireAnswerWidth = "answerwidth="; ///< columns that text has to fit
