#pragma once

#include "doctor/Finding.h"

/// All texts of the reports, in the order of the checks: Chinese, English. "{0}" and "{1}" are filled in.
namespace doctor::texts {

// Several checks
inline constexpr Text kDenied{L"没有权限读取 {0}。", L"Access to {0} is denied."};
inline constexpr Text kAsAffectedUser{L"请以受影响的用户身份运行本程序，或请管理员查看。",
                                      L"Run this program as the affected user, or ask an administrator to look."};
inline constexpr Text kNoEventLog{L"无法读取事件日志 {0}。", L"There is no event log {0} to look at."};
inline constexpr Text kNoModule{L"没有可检查的已注册文件。", L"There is no registered file to look at."};
inline constexpr Text kRepair{L"请由管理员修复安装：", L"Have an administrator repair the installation:"};
inline constexpr Text kAdministratorDeletes{L"请由管理员删除该项：", L"Have an administrator delete it:"};
inline constexpr Text kAskAdministration{L"这是由管理员设置的策略，请与管理员联系。",
                                         L"An administrator has set this policy. Ask your administration."};

// Host
inline constexpr Text kOutlookAt{L"已找到 {0}。", L"Found {0}."};
inline constexpr Text kNoOutlook{L"未找到经典版 Outlook。", L"There is no classic Outlook."};
inline constexpr Text kInstallOutlook{L"请安装 64 位的经典版 Outlook。", L"Install classic Outlook, 64-bit."};
inline constexpr Text kIs64Bit{L"Outlook 是 64 位。", L"Outlook is 64-bit."};
inline constexpr Text kIs32Bit{L"Outlook 是 32 位，不会加载 64 位的加载项。",
                               L"Outlook is 32-bit. It does not load a 64-bit add-in."};
inline constexpr Text kInstall64Bit{L"请安装 64 位（x64）的 Office。", L"Install 64-bit Office (x64)."};
inline constexpr Text kIsArm{L"Outlook 是 ARM64 程序，尚未证实它能加载此加载项。",
                             L"Outlook is an ARM64 program. It is not proven that it loads the add-in."};
inline constexpr Text kUnknownProgram{L"无法识别 {0}。", L"{0} is not a program that could be recognised."};
inline constexpr Text kRegistrySays{L"但注册表记录的 Office 是 {0}。", L"The registry, however, calls Office {0}."};
inline constexpr Text kVersionIs{L"版本 {0}。", L"Version {0}."};
inline constexpr Text kTooOld{L"Outlook 版本 {0} 早于 2013。", L"Outlook {0} is older than Outlook 2013."};
inline constexpr Text kInstallNewer{L"请安装 Outlook 2013 或更高版本。", L"Install Outlook 2013 or later."};
inline constexpr Text kNoVersion{L"无法读取 {0} 的版本。", L"The version of {0} cannot be read."};
inline constexpr Text kClassicUsed{L"未启用新版 Outlook。", L"The new Outlook is not switched on."};
inline constexpr Text kNewOutlook{L"当前使用新版 Outlook，它不加载 COM 加载项。",
                                  L"The new Outlook is in use. It loads no COM add-ins."};
inline constexpr Text kSwitchBack{L"请在新版 Outlook 中关闭“新 Outlook”开关，返回经典版。",
                                  L"Switch \"New Outlook\" off to return to classic Outlook."};
inline constexpr Text kMigration{L"策略 {0} 会将用户迁移到新版 Outlook。",
                                 L"The policy {0} moves users to the new Outlook."};
inline constexpr Text kToggleHidden{L"“新 Outlook”开关已被隐藏。", L"The switch to the new Outlook is hidden."};
inline constexpr Text kNotRunning{L"Outlook 未运行。", L"Outlook is not running."};
inline constexpr Text kLoaded{L"Outlook 已加载 {0}。", L"Outlook has loaded {0}."};
inline constexpr Text kLoadedOther{L"Outlook 加载了 {0}，而不是已注册的 {1}。",
                                   L"Outlook has loaded {0}, not the registered {1}."};
inline constexpr Text kRunsWithout{L"Outlook 正在运行，但未加载此加载项。", L"Outlook is running without the add-in."};
inline constexpr Text kSafeMode{L"Outlook 以安全模式（/safe）启动，不加载任何加载项。",
                                L"Outlook was started with /safe. It then loads no add-ins."};
inline constexpr Text kRestart{L"请关闭所有 Outlook 窗口，然后正常启动 Outlook。",
                               L"Close all windows of Outlook and start it normally."};
inline constexpr Text kSameLevel{L"Outlook 与客户端的权限级别没有冲突。",
                                 L"The levels of Outlook and the client do not conflict."};
inline constexpr Text kLevelsDiffer{
    L"Outlook 与会议客户端的权限级别不同，Windows 会拦截它们之间的消息。",
    L"Outlook and the meeting client run at different levels. Windows keeps their messages back."};
inline constexpr Text kOutlookElevated{L"Outlook 以管理员身份运行，会忽略用户自己的 COM 类。",
                                       L"Outlook runs as administrator. It then ignores the user's own COM classes."};
inline constexpr Text kStartUnelevated{L"请以普通方式启动 Outlook 和客户端，不要以管理员身份运行。",
                                       L"Start Outlook and the client without administrator rights."};

// Registration
inline constexpr Text kRegistered{L"加载项已注册。", L"The add-in is registered."};
inline constexpr Text kNotRegistered{L"Outlook 的加载项列表中没有此加载项。",
                                     L"The add-in is not in Outlook's list of add-ins."};
inline constexpr Text kInstall{L"请安装加载项，或由管理员执行：", L"Install the add-in, or have an administrator run:"};
inline constexpr Text kEntryDiffers{L"{0} 应为“{1}”，实际为“{2}”。", L"{0} should be \"{1}\" and is \"{2}\"."};
inline constexpr Text kNoSecondView{L"32 位视图中没有注册项。", L"The 32-bit view has no entry."};
inline constexpr Text kOnlySecondView{L"加载项只注册在 32 位视图中：{0}。",
                                      L"The add-in is registered in the 32-bit view only: {0}."};
inline constexpr Text kBothViews{L"32 位视图中也有注册项：{0}。",
                                 L"There is an entry in the 32-bit view as well: {0}."};
inline constexpr Text kUse64BitTool{L"请由管理员删除该项，并用 System32 中的 regsvr32 注册：",
                                    L"Have an administrator delete it, and register with the regsvr32 of System32:"};
inline constexpr Text kBehaviour{L"{0} 的 LoadBehavior 是 {1}。", L"LoadBehavior in {0} is {1}."};
inline constexpr Text kNoBehaviour{L"{0} 没有有效的 LoadBehavior。", L"{0} has no valid LoadBehavior."};
inline constexpr Text kBehaviourError{L"Outlook 曾无法加载此加载项，因此写入了 2。",
                                      L"Outlook wrote 2 after it had failed to load the add-in."};
inline constexpr Text kBehaviourOff{L"因此 Outlook 启动时不加载此加载项。",
                                    L"Outlook does not load the add-in at its start."};
inline constexpr Text kBehaviourDemand{L"此加载项不支持按需加载。", L"The add-in is not made for loading on demand."};
inline constexpr Text kSetBehaviour{L"请先排除 F 类检查指出的问题，再由管理员执行：",
                                    L"Remove first what the checks F1 to F7 name, then have an administrator run:"};
inline constexpr Text kAdministratorSets{L"请由管理员执行：", L"Have an administrator run:"};
inline constexpr Text kUserWins{L"用户的值优先于计算机的值。", L"The user's value overrides the computer's value."};
inline constexpr Text kEnableInList{
    L"请在“文件、选项、加载项、COM 加载项、转到”中勾选此加载项，或删除用户的值。",
    L"Select the add-in under File, Options, Add-ins, COM Add-ins, Go, or delete the user's value."};
inline constexpr Text kNoUserValue{L"用户没有关闭此加载项。", L"The user has not switched the add-in off."};
inline constexpr Text kNoShadow{L"Office 的虚拟注册表中没有此加载项。", L"Office's streamed registry has no entry."};
inline constexpr Text kShadow{L"Office 的虚拟注册表中有 {0}。", L"Office's streamed registry contains {0}."};
inline constexpr Text kShadowDiffers{L"{0} 使用另一个值：{1}。", L"{0} has another value: {1}."};
inline constexpr Text kNamesLead{L"程序标识指向该 COM 类。", L"The program ids lead to the class."};
inline constexpr Text kServerAt{L"COM 类指向 {0}。", L"The class leads to {0}."};
inline constexpr Text kNoServer{L"COM 类未注册。", L"The class is not registered."};
inline constexpr Text kPathNotFull{L"“{0}”不是完整路径，或带有引号。",
                                   L"\"{0}\" is not a full path, or has quotation marks."};
inline constexpr Text kFileMissing{L"文件 {0} 不存在。", L"The file {0} does not exist."};
inline constexpr Text kOtherCopy{L"但安装程序的文件是 {0}。", L"The installer's file, however, is {0}."};
inline constexpr Text kNoUserClass{L"用户没有同名的 COM 类。", L"The user has no class of this name."};
inline constexpr Text kUserClass{L"用户的 {0} 覆盖了计算机的注册项。", L"The user's {0} hides the computer's entry."};
inline constexpr Text kUserClassOther{L"用户的 {0} 指向另一处：{1}。", L"The user's {0} leads somewhere else: {1}."};
inline constexpr Text kDeleteUserClass{L"请删除用户的该项。", L"Delete the user's key."};
inline constexpr Text kLibraryFine{L"类型库的注册项没有问题。", L"The entry of the type library is in order."};
inline constexpr Text kLibraryMissing{
    L"已注册的类型库 {0} 不存在，加载项会改用自己的资源。",
    L"The registered type library {0} does not exist. The add-in falls back on its own resource."};
inline constexpr Text kNoKillBit{L"Office 没有禁止此 COM 类。", L"Office does not block the class."};
inline constexpr Text kKillBit{L"Office 的 COM 终止位禁止了此类（{0}）。",
                               L"Office's COM kill bit blocks the class ({0})."};

// File
inline constexpr Text kFileFine{L"文件是 64 位，版本 {0}。", L"The file is 64-bit, version {0}."};
inline constexpr Text kFileUnreadable{L"当前用户无法读取 {0}。", L"This user cannot read {0}."};
inline constexpr Text kNot64Bit{L"{0} 不是 64 位程序（处理器类型 {1}）。",
                                L"{0} is not a 64-bit program (machine {1})."};
inline constexpr Text kNoProgram{L"{0} 不是有效的程序文件。", L"{0} is not a valid program file."};
inline constexpr Text kOtherVersion{L"文件版本是 {0}，而本程序的版本是 {1}。",
                                    L"The file's version is {0}; this program's version is {1}."};
inline constexpr Text kNoMark{L"文件没有下载标记。", L"The file has no mark of a download."};
inline constexpr Text kMark{L"文件带有来自互联网的标记（区域 {0}），Windows 可能会阻止它。",
                            L"The file is marked as downloaded (zone {0}). Windows may block it."};
inline constexpr Text kUnblock{L"请在文件属性中选择“解除锁定”，或使用 MSI 安装包。",
                               L"Choose Unblock in the file's properties, or use the MSI."};
inline constexpr Text kNotWritable{L"普通用户无法更改文件及其文件夹。",
                                   L"Users without administrator rights cannot change the file or its folder."};
inline constexpr Text kWritable{L"普通用户可以更改 {0}，这是安全漏洞。",
                                L"Users without administrator rights can change {0}. This is a security hole."};
inline constexpr Text kUseProgramFiles{L"请将加载项安装到 Program Files 下。",
                                       L"Install the add-in below Program Files."};
inline constexpr Text kImportsFine{L"所需的系统文件都存在。", L"Every library that it needs exists."};
inline constexpr Text kImportsDamaged{L"无法读取文件的导入表。", L"The file's import table cannot be read."};
inline constexpr Text kImportMissing{L"缺少系统文件 {0}。", L"The library {0} is missing."};
inline constexpr Text kRepairWindows{L"请修复 Windows（sfc /scannow）。", L"Repair Windows (sfc /scannow)."};
inline constexpr Text kSigned{L"签名有效：{0}。", L"The signature is valid: {0}."};
inline constexpr Text kUnsigned{L"文件没有签名。", L"The file is not signed."};
inline constexpr Text kUnsignedBlocked{L"文件没有签名，而策略要求签名。",
                                       L"The file is not signed, and a policy asks for a signature."};
inline constexpr Text kSignatureBroken{L"文件在签名后被更改（{0}）。",
                                       L"The file was changed after it was signed ({0})."};
inline constexpr Text kSignatureUntrusted{L"Windows 不信任该签名：{0}（{1}）。",
                                          L"Windows does not trust the signature: {0} ({1})."};
inline constexpr Text kUseSigned{L"请安装已签名的版本。", L"Install the signed release."};
inline constexpr Text kProbeFine{L"试加载成功（加载项的日志中会多一行“Built at”）。",
                                 L"A trial load succeeded (it adds a line \"Built at\" to the add-in's log)."};
inline constexpr Text kProbeSkipped{L"Outlook 已加载此文件，无需试加载。",
                                    L"Outlook has loaded the file; a trial is not needed."};
inline constexpr Text kProbeNotStarted{L"无法启动试加载（{0}）。", L"The trial load could not be started ({0})."};
inline constexpr Text kProbeTimedOut{L"试加载在 10 秒内没有结束。", L"The trial load did not end within 10 seconds."};
inline constexpr Text kProbeCrashed{L"试加载崩溃（{0}）。", L"The trial load crashed ({0})."};
inline constexpr Text kProbeFailed{L"试加载失败（{0}）。", L"The trial load failed ({0})."};
inline constexpr Text kProbeImport{L"缺少它所需的库，见 F4。", L"A library that it needs is missing, see F4."};
inline constexpr Text kProbeBits{L"文件不是 64 位或已损坏，见 F1。", L"The file is not 64-bit or is damaged, see F1."};
inline constexpr Text kProbeAccess{L"当前用户没有执行权限，请检查文件夹的权限。",
                                   L"This user may not run it. Check the permissions of the folder."};
inline constexpr Text kProbePolicy{L"Windows 的策略阻止了它，见 F7。", L"A policy of Windows blocks it, see F7."};
inline constexpr Text kSendLog{L"请用 --collect 收集资料并交给技术支持。",
                               L"Collect the facts with --collect and send them to support."};
inline constexpr Text kNoControl{L"没有应用程序控制阻止此文件的记录。",
                                 L"No application control has blocked the file."};
inline constexpr Text kControlEvent{L"事件 {0} 记录了对此文件的阻止（{1}）。",
                                    L"Event {0} says that the file was blocked ({1})."};
inline constexpr Text kSmartControl{L"智能应用控制已开启，而文件没有签名。",
                                    L"Smart App Control is on, and the file is not signed."};
inline constexpr Text kAllowRule{L"请由管理员添加允许规则，或安装已签名的版本。",
                                 L"Have an administrator add an allow rule, or install the signed release."};

// Disabling
inline constexpr Text kNotListed{L"该列表中没有此加载项。", L"The add-in is not on this list."};
inline constexpr Text kDisabled{L"Outlook 已将此加载项列入禁用项目（{0}）。",
                                L"Outlook has put the add-in on its list of disabled items ({0})."};
inline constexpr Text kEnableItem{L"请在“选项、加载项、管理：禁用项目”中启用它，或删除该值。",
                                  L"Enable it under Options, Add-ins, Manage: Disabled Items, or delete this value."};
inline constexpr Text kCrashing{L"Outlook 记录了此加载项的崩溃（{0}）。",
                                L"Outlook has noted a crash of the add-in ({0})."};
inline constexpr Text kDeleteCrashing{L"请删除该值，并查看检查 E2。", L"Delete this value, and look at check E2."};
inline constexpr Text kNoExempt{L"Outlook 从未因运行缓慢而禁用它。", L"Outlook has no record of having disabled it."};
inline constexpr Text kExempt{L"用户曾重新启用它；首次禁用的原因：{0}（{1}）。",
                              L"The user has enabled it again; the first disabling was for: {0} ({1})."};
inline constexpr Text kNoReminder{L"Outlook 没有就此加载项通知用户。", L"Outlook has not notified the user about it."};
inline constexpr Text kReminder{L"Outlook 曾就此加载项通知用户。", L"Outlook has notified the user about the add-in."};
inline constexpr Text kNoTimes{L"Outlook 没有记录加载时间。", L"Outlook has recorded no load times."};
inline constexpr Text kTimes{L"Outlook 记录的加载时间（未公开的格式）：{0}。",
                             L"Load times as Outlook stores them (undocumented): {0}."};

// Events
inline constexpr Text kNoEvents{L"最近 30 天没有关于此加载项的事件。",
                                L"There is no event about it in the last 30 days."};
inline constexpr Text kDisableEvent{L"Outlook 禁用了此加载项（事件 59）：{0}",
                                    L"Outlook disabled the add-in (event 59): {0}"};
inline constexpr Text kSlow{L"上次加载用了 {0} 毫秒（事件 45）。", L"A load took {0} ms (event 45)."};
inline constexpr Text kMakeManaged{L"请由管理员将此加载项加入受管理的加载项列表。",
                                   L"Have an administrator put the add-in on the list of managed add-ins."};
inline constexpr Text kCrashEvent{L"Outlook 在此加载项中崩溃（事件 {0}）。",
                                  L"Outlook crashed in the add-in (event {0})."};

// Policies
inline constexpr Text kNotManaged{L"没有针对此加载项的策略。", L"No policy names the add-in."};
inline constexpr Text kManagedOff{L"策略 {0} 禁用了此加载项（值为 0）。",
                                  L"The policy {0} blocks the add-in (value 0)."};
inline constexpr Text kManagedOn{L"策略 {0} 已列出此加载项（值为 {1}）。",
                                 L"The policy {0} lists the add-in (value {1})."};
inline constexpr Text kManagedStrange{L"策略 {0} 的值“{1}”无效。", L"The policy {0} has an unknown value \"{1}\"."};
inline constexpr Text kNotRestricted{L"策略没有限制加载项列表。", L"No policy restricts add-ins to a list."};
inline constexpr Text kRestricted{L"策略只允许列表中的加载项，而列表中没有此加载项。",
                                  L"A policy allows only listed add-ins, and this one is not listed."};
inline constexpr Text kAddToList{L"请由管理员将 {0} 以值 1 加入该列表。",
                                 L"Have an administrator add {0} with the value 1 to that list."};
inline constexpr Text kNoSignaturePolicy{L"没有要求加载项签名的策略。", L"No policy asks for signed add-ins."};
inline constexpr Text kSignaturePolicy{L"策略要求已安装的加载项带有签名（级别 {0}）。",
                                       L"A policy asks for a signature on installed add-ins (level {0})."};
inline constexpr Text kTrustPublisher{L"请安装已签名的版本，并由管理员信任发布者。",
                                      L"Install the signed release and have the publisher trusted."};
inline constexpr Text kNoOtherNames{L"没有其他 Office 程序的签名设置。",
                                    L"No setting of other Office programs is present."};
inline constexpr Text kOtherNames{L"存在 {0}；此设置只对 Word、Excel 和 PowerPoint 有公开说明。",
                                  L"{0} is set; it is documented for Word, Excel and PowerPoint only."};

// Log and link
inline constexpr Text kLogFine{L"加载项的日志没有错误。", L"The add-in's log shows no error."};
inline constexpr Text kLastLoad{L"日志中最后一次加载：{0}。", L"Last load in the log: {0}."};
inline constexpr Text kNoLog{L"尚无日志。", L"There is no log yet."};
inline constexpr Text kNeverLoaded{
    L"自 Outlook 启动以来，日志中没有“Built at”：Outlook 未加载此加载项。",
    L"The log has no \"Built at\" since Outlook's start: Outlook has not loaded the add-in."};
inline constexpr Text kLogError{L"日志中的错误：{0}", L"The log contains an error: {0}"};
inline constexpr Text kLogFolder{L"无法在 {0} 中写入日志。", L"The log cannot be written in {0}."};
inline constexpr Text kLogRights{L"请检查该文件夹的权限。", L"Check the permissions of this folder."};
inline constexpr Text kDiskFull{L"磁盘几乎已满（剩余 {0} 字节）。", L"The disk is almost full ({0} bytes left)."};
inline constexpr Text kFreeSpace{L"请释放磁盘空间。", L"Free some space."};
inline constexpr Text kWindowsFine{L"加载项的两个窗口都存在。", L"Both windows of the add-in exist."};
inline constexpr Text kWindowMissing{L"缺少加载项的窗口 {0}，按钮不起作用。",
                                     L"The add-in's window {0} is missing. The buttons have no effect."};
inline constexpr Text kReported{L"Outlook 会显示加载项的界面错误。",
                                L"Outlook reports errors in add-ins' user interfaces."};
inline constexpr Text kUnreported{L"Outlook 不显示加载项的界面错误。",
                                  L"Outlook does not report errors in add-ins' user interfaces."};
inline constexpr Text kReport{
    L"可在“选项、高级、常规”中打开“显示加载项用户界面错误”。",
    L"It helps to enable \"Show add-in user interface errors\" under Options, Advanced, General."};
inline constexpr Text kClientRuns{L"会议客户端正在运行：{0}。", L"The meeting client is running: {0}."};
inline constexpr Text kNoClient{L"会议客户端未登录。按下按钮时会启动它。",
                                L"The meeting client is not logged in. A press on a button starts it."};
inline constexpr Text kTwoClients{L"有 {0} 个会议客户端窗口。", L"There are {0} windows of meeting clients."};
inline constexpr Text kCloseOne{L"请关闭多余的会议客户端。", L"Close all meeting clients but one."};
inline constexpr Text kSchemeFine{L"{0} 会启动会议客户端。", L"{0} starts the meeting client."};
inline constexpr Text kNoScheme{L"未注册 URI 方案 quorvex，按钮无法启动会议客户端。",
                                L"The URI scheme quorvex is not registered. The buttons cannot start the client."};
inline constexpr Text kReinstallClient{L"请重新安装会议客户端。", L"Install the meeting client again."};
inline constexpr Text kUserScheme{L"用户的 quorvex 方案覆盖了计算机的方案。",
                                  L"The user's scheme quorvex hides the computer's one."};
inline constexpr Text kNoRule{L"没有阻止 Outlook 启动客户端的规则。",
                              L"No rule keeps Outlook from starting the client."};
inline constexpr Text kRuleBlocks{L"Defender 的规则 {0} 可能阻止 Outlook 启动客户端。",
                                  L"Defender's rule {0} may keep Outlook from starting the client."};
inline constexpr Text kRuleAudits{L"Defender 的规则 {0} 处于审核或警告模式。", L"Defender's rule {0} audits or warns."};
inline constexpr Text kRuleEvent{L"Defender 阻止了 Outlook 启动程序（事件 {0}）。",
                                 L"Defender kept Outlook from starting a program (event {0})."};
inline constexpr Text kExcludeClient{L"请由管理员为客户端添加排除项，或让客户端随登录启动。",
                                     L"Have an administrator exclude the client, or start the client at log-on."};

// Report
inline constexpr Text kAllWell{L"没有发现问题。", L"Nothing found: the add-in should load."};
inline constexpr Text kAllLoaded{L"Outlook 已加载此加载项。", L"Outlook has loaded the add-in."};
inline constexpr Text kWarnings{L"发现 {0} 个可能的问题。", L"{0} possible problem(s) found."};
inline constexpr Text kFaults{L"发现 {0} 个故障。", L"{0} fault(s) found."};
inline constexpr Text kNotEverything{L"没有发现问题，但有些内容无法读取。",
                                     L"Nothing found, but not everything could be read."};
inline constexpr Text kToDo{L"请这样做：", L"Do this: "};
inline constexpr Text kFixLabel{L"解决：", L"Fix: "};
inline constexpr Text kOwnRepair{L"或运行：{0}", L"Or run: {0}"};
inline constexpr Text kSkipped{L"Outlook 已加载此加载项，因此跳过了组 R、F、D、E 和 P。",
                               L"Groups R, F, D, E and P are left out, because Outlook has loaded the add-in."};

// Repairs
inline constexpr Text kNothingToFix{L"检查 {0} 没有可由用户修复的内容。",
                                    L"Check {0} has nothing that the user can repair."};
inline constexpr Text kWillDeleteKey{L"将删除 HKCU\\{0}", L"This deletes HKCU\\{0}"};
inline constexpr Text kWillDeleteValue{L"将删除 HKCU\\{0} 中的值“{1}”", L"This deletes the value \"{1}\" in HKCU\\{0}"};
inline constexpr Text kWillSet{L"将把 HKCU\\{0} 中的“{1}”设为 {2}", L"This sets \"{1}\" in HKCU\\{0} to {2}"};
inline constexpr Text kCloseFirst{L"Outlook 正在运行，退出时可能会改回该值。请先关闭 Outlook。",
                                  L"Outlook is running and may write the value again when it exits. Close it first."};
inline constexpr Text kQuestion{L"继续吗？(y/n) ", L"Go on? (y/n) "};
inline constexpr Text kNotDone{L"未作任何更改。", L"Nothing was changed."};
inline constexpr Text kFixFailed{L"更改失败（错误 {0}）。", L"The change failed (error {0})."};
inline constexpr Text kFixed{L"已完成。重新检查：", L"Done. The check now says:"};

} // namespace doctor::texts
