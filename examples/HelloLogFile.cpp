#include <QzLog/QzLog.h>

using namespace QzBase::Literals;

int main()
{
    QzLog::Initializer const module;

    QzBase::CountedPtr<QzLog::Destination_DiskFile> const file(QzLog::GetDestination_DiskFile(u"hello.log"_w));
    file->SetRecovery(QzLog::kRecoveryStrict);
    QzBase::CountedPtr<QzLog::Router> const router(QzLog::CreateRouter("Kernel", "Info"));
    router->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({file.get()}));

    QzLog::Log(*router, "User %1 waited %2 ms.", "alice", 12.8);
}
