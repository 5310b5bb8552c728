// The interfaces whose records compiled code makes and the library looks up:
// pollable objects, action sources and receivers, and the notifiers of lists
// and data.
#include "object/class_decl.h"

namespace vela {

InterfaceDecl gPollableInterface("_Pollable");
InterfaceDecl gActionSourceInterface("ActionSource");
InterfaceDecl gActionNotificationReceiverInterface("ActionNotificationReceiver");
InterfaceDecl gListSelectionNotifierInterface("ListSelectionNotifier");
InterfaceDecl gListNotificationReceiverInterface("ListNotificationReceiver");
InterfaceDecl gDataNotifierInterface("DataNotifier");
InterfaceDecl gDataNotificationReceiverInterface("DataNotificationReceiver");

}  // namespace vela
