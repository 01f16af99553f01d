#pragma once

#include "workbench/host/Events.h"
#include "workbench/host/OfficeIds.h"

#include <memory>
#include <string>

namespace workbench {

class OutlookHost;
class Inspector;
class DispatchObject;
using InspectorPtr = std::shared_ptr<Inspector>;

enum class ItemKind { Appointment, Mail };

/// The contents of an item. Discarding takes them back to what was saved last.
struct ItemFields {
    std::wstring subject;
    std::wstring body;
    std::wstring location; // appointments
    std::wstring comment;  // FormDescription.Comment
    long meetingStatus = kNonMeeting;
    DATE startUtc = 0; // days since 1899-12-30, UTC
    DATE endUtc = 0;
};

/// An appointment or a mail message. The host's own view of it: tests set and read its fields directly, which counts as
/// no call and does not touch Saved. The add-in sees it through Dispatch(). Host thread.
class Item : public std::enable_shared_from_this<Item> {
public:
    Item(OutlookHost& host, ItemKind kind, unsigned number);
    ~Item();

    ItemFields fields;

    ItemKind Kind() const { return kind_; }
    unsigned Number() const { return number_; }
    const std::wstring& Subject() const { return fields.subject; }
    const std::wstring& Body() const { return fields.body; }
    const std::wstring& Location() const { return fields.location; }
    const std::wstring& Comment() const { return fields.comment; }
    long MeetingStatus() const { return fields.meetingStatus; }
    /// Empty until the item was saved or sent.
    const std::wstring& EntryId() const { return entryId_; }
    const std::wstring& StoreId() const { return storeId_; }
    bool Saved() const { return saved_; }
    void SetSaved(bool saved) { saved_ = saved; }
    bool Sent() const { return sent_; }
    bool Deleted() const { return deleted_; }
    /// Whether an inspector on it is on show now.
    bool Displayed() const;
    unsigned SaveCount() const { return saveCount_; }
    unsigned DisplayCount() const { return displayCount_; }

    /// The item as the add-in gets it. Never null.
    DispatchPtr Dispatch();
    EventSource& Events() { return *events_; }
    std::shared_ptr<EventSource> SharedEvents() { return events_; }

    // Actions of the user or the object model. Each raises the events that Outlook raises.
    /// Write(Cancel). @return false when a sink cancelled it.
    bool Save();
    /// Send(Cancel), then Write(Cancel); closes its inspector. @return false when a sink cancelled it.
    bool Send();
    /// BeforeDelete(Item, Cancel) if an inspector is open on it. @return false when a sink cancelled it.
    bool Delete();
    /// Closes its inspector, if there is one. @return false when it stayed open.
    bool Close(OlInspectorClose mode);
    /// Opens (or brings forward) its inspector window.
    InspectorPtr Display();
    /// The open inspector, or a new one that is not on show.
    InspectorPtr GetInspector();
    /// The inspector if there is one, else null; of several (OutlookHost::MakeInspector) the last made.
    InspectorPtr OpenedInspector() const { return inspector_.lock(); }

    /// For the object model: a property was written.
    void Touch();

private:
    friend class Inspector;

    void Store();
    void Discard();
    /// Another window that shows the item takes the place of the one that closes.
    void LetGoOfInspector(const Inspector& closing);

    OutlookHost& host_;
    ItemKind kind_;
    unsigned number_;
    std::shared_ptr<EventSource> events_;
    ItemFields lastSaved_;
    std::wstring entryId_;
    std::wstring storeId_;
    bool saved_ = false;
    bool sent_ = false;
    bool deleted_ = false;
    unsigned saveCount_ = 0;
    unsigned displayCount_ = 0;
    std::weak_ptr<Inspector> inspector_;
};
using ItemPtr = std::shared_ptr<Item>;

} // namespace workbench
