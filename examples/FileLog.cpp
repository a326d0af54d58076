// A process with one log file: two kinds of messages in it, a limit for its size, and back-ups.
//
//     example_file_log [FILE]

#include <QzLog/QzLog.h>

using namespace QzBase::Literals;

namespace
{
    using RouterPtr = QzBase::CountedPtr<QzLog::Router>;

    RouterPtr MakeRouter(char const* dispatcher, QzLog::Destination& destination)
    {
        RouterPtr router(QzLog::CreateRouter("Orders", dispatcher));
        router->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({&destination}));
        return router;
    }
}

int main(int argc, char** argv)
{
    // The module lives as long as this object. Without it there is no logger.
    QzLog::Initializer const module;
    QzLog::SetServerInstanceName(u"shop"_w);

    QzBase::ReturnWString const path = QzBase::UTF8ToWideChar(argc > 1 ? argv[1] : "orders.log", false);
    QzBase::CountedPtr<QzLog::Destination_DiskFile> const file(QzLog::GetDestination_DiskFile(path.c_str()));
    // A full file becomes <file>.bak00, the one before it <file>.bak01; what was older is gone.
    file->SetMaxFileSize(4000);
    file->SetBackupCount(2);
    // Whatever happens to the file, no message is lost without being reported.
    file->SetRecovery(QzLog::kRecoveryStrict);

    RouterPtr const info = MakeRouter("Info", *file);
    // The records of the dispatcher "Error" show where they come from in the source.
    RouterPtr const error = MakeRouter("Error", *file);

    for (int order = 1; order <= 100; ++order)
    {
        double const price = order * 0.25;
        QzLog::Log(*info, "Order %1 costs %2 EUR.", order, price);
        if (order == 90)
            QzLog::Log(*error, "Order %1 has no address:\n%2", order, "Customer 'bob'\nhas moved");
    }
}
