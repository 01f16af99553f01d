#pragma once

#include "workbench/host/DispatchObject.h"
#include "workbench/host/Item.h"
#include "workbench/host/Ribbon.h"
#include "workbench/host/Views.h"

#include <memory>
#include <string>
#include <vector>

/// Makers of the COM objects, one per kind. Each hands out one reference.
namespace workbench {

struct Store;

DispatchPtr MakeApplication(const std::shared_ptr<HostCore>& core);
DispatchPtr MakeNameSpace(const std::shared_ptr<HostCore>& core);
/// The stores' root folders.
DispatchPtr MakeFolders(const std::shared_ptr<HostCore>& core);
DispatchPtr MakeFolder(const std::shared_ptr<HostCore>& core, const Store& store);
DispatchPtr MakeExplorers(const std::shared_ptr<HostCore>& core);
DispatchPtr MakeInspectors(const std::shared_ptr<HostCore>& core);
DispatchPtr MakeLanguageSettings(const std::shared_ptr<HostCore>& core);
DispatchPtr MakeExplorer(const std::shared_ptr<HostCore>& core, const ExplorerPtr& explorer);
DispatchPtr MakeInspectorObject(const std::shared_ptr<HostCore>& core, const InspectorPtr& inspector);
DispatchPtr MakeItem(const std::shared_ptr<HostCore>& core, const ItemPtr& item);
DispatchPtr MakeFormDescription(const std::shared_ptr<HostCore>& core, const ItemPtr& item);
DispatchPtr MakeRibbonControl(const std::shared_ptr<HostCore>& core, const std::wstring& id,
                              const DispatchPtr& context);
DispatchPtr MakeRibbonUi(const std::shared_ptr<HostCore>& core,
                         const std::shared_ptr<std::vector<Invalidation>>& invalidations);
DispatchPtr MakeAddInInstance(const std::shared_ptr<HostCore>& core);

} // namespace workbench
