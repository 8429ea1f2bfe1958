# Lists the public functions that headers of the library declare: Class::function, a line each.
# Reads declarations in the form that clang-format gives them: members stand four blanks deep, what
# is deeper goes on with one.

{ sub(/\/\/.*/, "") }
/\/\*/ { isComment = 1 }
isComment {
    isComment = !/\*\//
    next
}
/^class [A-Za-z_]+( [A-Za-z]+)?( :.*)?$/ {
    class = $2 == toupper($2) ? $3 : $2
    isPublic = 0
    next
}
/^};/ { class = "" }
/^(public|Q_SIGNALS):/ { isPublic = 1 }
/^(protected|private):/ { isPublic = 0 }
class != "" && isPublic && /^    [A-Za-z~].*\(/ && !/^    Q_[A-Z_]+\(/ {
    sub(/\(.*/, "")
    sub(/.*[ &*]/, "")
    print class "::" $0
}
