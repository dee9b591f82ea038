#include "frontend.h"
#include "inputs/toolPackage.h"
#include "trust/signature.h"

using namespace velacreate;

namespace {

using TrustTest = JobTest;

std::string resultOf(const std::function<std::string()>& function) {
    try {
        return outcomeOf(function);
    } catch (const Untrusted& untrusted) {
        return untrusted.what();
    }
}

/// Each row: how a file is signed, and the key that its signature is by, or why it is not good.
TEST_F(TrustTest, ChecksSignatures) {
    for (const auto& row : rows("signatures")) {
        SCOPED_TRACE(row[0]);
        enterFreshJob();
        prepare("echo text >content; mkdir keys; for key in maker keys/other third; do makeKey $key; done; "
                "mv maker.pub maker; touch keys/note\n" +
                row[0]);
        const auto key = [&] {
            const auto good =
                PublicKeys({"keys", "maker"}).requireGood(opened("content"), contentOf("content.minisig"));
            EXPECT_EQ(good.comment, "what it is");
            return good.key;
        };
        expectText(resultOf(key), row[1]);
    }
}

TEST_F(TrustTest, TakesPublicKeysOnly) {
    prepare("makeKey a; mkdir none keys; cp a.key keys/a.pub");
    const std::pair<const char*, const char*> cases[] = {
        {"a.pub", "done"},
        {"a.key", "refused: 'a.key' is no public key of minisign"},
        {"keys", "refused: 'keys/a.pub' is no public key of minisign"},
        {"none", "refused: the directory 'none' has no public key, such as 'name.pub'"},
        {"gone", "refused: 'gone': No such file or directory"},
        {"/dev/null", "refused: '/dev/null' is not a file"}};
    for (const auto& [path, expected] : cases) {
        EXPECT_EQ(outcomeOf([&, name = path] { const PublicKeys keys({name}); }), expected);
    }
}

TEST_F(TrustTest, UsesTheVeryPackageThatItChecked) {
    prepare("pack boot/file; makeKey k; sign k work/p.zip; sha256sum work/p.zip >sum");
    const PublicKeys keys({"k.pub"});
    const NamedDirectory place{"work", opened("work")};
    const ToolPackage package("work/p.zip", CloneImages::unwanted, PackageTrust{&keys, &place});
    prepare("echo other >work/p.zip; ! find work -name '.velacreate-*' | grep .");
    EXPECT_EQ(package.sum(), contentOf("sum").substr(0, 64));
    EXPECT_TRUE(package.isFile(opened("work/p.zip").status()));
}

} // namespace
