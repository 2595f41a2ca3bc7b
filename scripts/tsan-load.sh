#!/usr/bin/env bash
# A mixed load on one wbm-host of the given build (default build/tsan), over plain HTTP: a few
# clients at once log in, read, write users, change policies, upload LDAP files and the login text,
# and fail logins; then one restarts the device while the others keep reading. Meant for the tsan
# build (scripts/tsan.sh), whose reports land where TSAN_OPTIONS says. Fails when a request gets no
# answer (other than during the restart) or the host dies.
#   scripts/tsan-load.sh [build folder] [rounds per client, default 20]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/tsan}
rounds=${2:-20}
work=$(mktemp -d)
host_pid=""
cleanup() {
  if [ -n "$host_pid" ] && kill -0 "$host_pid" 2>/dev/null; then kill -TERM "$host_pid"; wait "$host_pid" || true; fi
  rm -rf "$work"
}
trap cleanup EXIT

initial='Initial-Load-Pw-1'
password='Changed-Load-Pw-2'
"$build/bin/wbm-host" --no-tls --listen 127.0.0.1:0 --data-dir "$work/data" --admin-password "$initial" \
  >"$work/host.out" 2>"$work/host.err" &
host_pid=$!
for _ in $(seq 1 300); do
  grep -q '^Listening on ' "$work/host.out" && break
  kill -0 "$host_pid" 2>/dev/null || { cat "$work/host.err"; echo "wbm-host ended before listening" >&2; exit 1; }
  sleep 0.1
done
base=$(grep -o 'http://[0-9.:]*' "$work/host.out" | head -1)
[ -n "$base" ] || { echo "wbm-host did not listen" >&2; exit 1; }
echo "wbm-host at $base"

# request JAR METHOD PATH [BODY [CONTENT-TYPE]]: prints the answer's body; the status goes to JAR.status.
request() {
  local jar=$1 method=$2 path=$3 body=${4-} type=${5:-application/x-www-form-urlencoded}
  local token=""
  [ -f "$jar.csrf" ] && token=$(cat "$jar.csrf")
  local arguments=(-s -m 60 -b "$jar" -c "$jar" -X "$method" -H "X-CSRF-Token: $token" -o "$jar.body" -w '%{http_code}')
  rm -f "$jar.body"
  [ "$method" = POST ] && arguments+=(-H "Content-Type: $type" --data-binary "$body")
  curl "${arguments[@]}" "$base$path" >"$jar.status" || echo 000 >"$jar.status"
  cat "$jar.body" 2>/dev/null || true
}
status() { cat "$1.status"; }
login() {
  local jar=$1 user=$2 secret=$3
  request "$jar" POST /api/login "{\"username\":\"$user\",\"password\":\"$secret\"}" application/json \
    | grep -o '"csrfToken":"[^"]*"' | cut -d'"' -f4 >"$jar.csrf" || true
}
# Logins of one name wait for each other (and a moment after a failure): try again for a while.
login_retry() {
  for _ in $(seq 1 30); do
    login "$@"
    [ "$(status "$1")" = 200 ] && return 0
    sleep 1
  done
  echo "login of $2 failed: $(status "$1")" >&2
  return 1
}
# The result member of the module's envelope, for posting a document back as it was read.
result_of() { sed -e 's/^.*"result"://' -e 's/}$//'; }
expect_answer() { # a request that got no answer at all is a failure (the host died or hung)
  [ "$(status "$1")" != 000 ] || { echo "no answer: $2" >&2; exit 1; }
}

admin=$work/admin
login "$admin" admin "$initial"
request "$admin" POST "/api/UserManagementInfoDp/ChangeCurrentUserPassword?currentPassword=$initial&newPassword=$password&confirmNewPassword=$password" "" >/dev/null
login "$admin" admin "$password"
[ "$(status "$admin")" = 200 ] || { echo "admin login failed" >&2; exit 1; }
# The clients hold more admin sessions at once than the default policy keeps.
session_policy="{\"sessionPolicyParameter\":$(request "$admin" GET /api/UserManagementDp/GetSessionPolicyConfig | result_of \
  | sed 's/"maxConcurrentSessionsCount":[0-9]*/"maxConcurrentSessionsCount":50/')}"
request "$admin" POST /api/UserManagementDp/SetSessionPolicyConfig "$session_policy" application/json | grep -q '"error":false' \
  || { echo "session policy not set: $session_policy" >&2; exit 1; }

reader() {
  local jar=$work/reader$1 answered=0 ok=0
  login_retry "$jar" admin "$password"
  for _ in $(seq 1 "$rounds"); do
    for path in /api/session /api/UserManagementDp/GetUserManagementConfig /api/UserManagementDp/GetSessionPolicyConfig \
                /api/UserManagementDp/GetPasswordRoleRulesets /api/UserManagementDp/GetPasswordBlockList \
                /api/UserManagementDp/IsUserAuthenticationRequired /api/LdapDp/GetLdapConfiguration \
                /api/UserManagementInfoDp/GetPasswordInfo /api/login-banner /api/sessions /pages/UserManager; do
      request "$jar" GET "$path" >/dev/null
      expect_answer "$jar" "GET $path"
      answered=$((answered + 1))
      if [ "$(status "$jar")" = 200 ]; then ok=$((ok + 1)); else echo "$(status "$jar") $path $(head -c 120 "$jar.body")" >>"$work/unanswered"; fi
    done
  done
  echo "reader $1: $ok of $answered reads answered 200"
}

writer() {
  local jar=$work/writer$1 user="load$1"
  login_retry "$jar" admin "$password"
  for round in $(seq 1 "$rounds"); do
    request "$jar" POST /api/UserManagementDp/AddUser "username=$user&password=Load-User-Pw-$round!&confirmPassword=Load-User-Pw-$round!" >/dev/null
    expect_answer "$jar" AddUser
    request "$jar" POST /api/UserManagementDp/SetUserPassword "username=$user&newPassword=Load-New-Pw-$round!&confirmNewPassword=Load-New-Pw-$round!" >/dev/null
    request "$jar" POST /api/UserManagementDp/ModifyUserConfig \
      "{\"userConfigItem\":{\"userName\":\"$user\",\"hasAdminRuleset\":false,\"userRoles\":[\"Admin\"]}}" application/json >/dev/null
    login "$work/user$1" "$user" "Load-New-Pw-$round!"
    request "$work/user$1" GET /api/session >/dev/null
    request "$jar" POST /api/UserManagementDp/RemoveUser "username=$user" >/dev/null
    expect_answer "$jar" RemoveUser
  done
}

policies() {
  local jar=$work/policies
  login_retry "$jar" admin "$password"
  local rulesets
  rulesets=$(request "$jar" GET /api/UserManagementDp/GetPasswordRoleRulesets | result_of)
  for round in $(seq 1 "$rounds"); do
    request "$jar" POST /api/UserManagementDp/SetPasswordBlockList "{\"passwordsBlockList\":[\"password\",\"block$round\"]}" application/json >/dev/null
    expect_answer "$jar" SetPasswordBlockList
    request "$jar" POST /api/UserManagementDp/SetSessionPolicyConfig "$session_policy" application/json >/dev/null
    request "$jar" POST /api/UserManagementDp/SetPasswordRoleRulesets "$rulesets" application/json >/dev/null
    request "$jar" POST /api/UserManagementDp/SetAuthenticationRequiredState "userAthenticationEnabled=true" >/dev/null
    request "$jar" POST /api/SystemUseNotificationDp/SetSystemUseNotification "SystemUseNotification=Authorized use only ($round)" >/dev/null
  done
}

uploads() {
  local jar=$work/uploads
  login_retry "$jar" admin "$password"
  for round in $(seq 1 "$rounds"); do
    request "$jar" POST /api/LdapDp/SetLdapConfiguration "# round $round
server = ldap://127.0.0.1:1
start_tls = no
user_base = ou=people,dc=example
bind_dn = cn=reader,dc=example
bind_password = Reader-$round
group_base = ou=groups,dc=example
group_role = Admin : cn=admins,ou=groups,dc=example
" text/plain >/dev/null
    expect_answer "$jar" SetLdapConfiguration
    request "$jar" GET /api/LdapDp/GetLdapConfiguration >/dev/null
    request "$jar" GET /api/ldap/status >/dev/null
    # Unknown names: the login waits and the directory path. Few, or the address would have to wait.
    if [ "$round" -le 2 ]; then login "$work/stranger" "nobody$round" "x"; fi
  done
}

pids=()
for client in 1 2; do reader "$client" & pids+=($!); done
for client in 1 2; do writer "$client" & pids+=($!); done
policies & pids+=($!)
uploads & pids+=($!)
failed=0
for pid in "${pids[@]}"; do wait "$pid" || failed=1; done
[ "$failed" -eq 0 ] || { echo "a client failed" >&2; exit 1; }
echo "mixed load done: $rounds rounds per client"
[ -f "$work/unanswered" ] && sort "$work/unanswered" | uniq -c | sort -rn | head -5

# A restart while two readers keep going; they may see refused connections until it is back.
keep_reading() {
  local jar=$work/late$1
  login_retry "$jar" admin "$password"
  for _ in $(seq 1 60); do request "$jar" GET /api/UserManagementDp/GetUserManagementConfig >/dev/null; done
}
keep_reading 1 & late1=$!
keep_reading 2 & late2=$!
request "$admin" POST /api/UserManagementDp/RestartSystem "" >/dev/null
echo "restart asked: $(status "$admin")"
back=""
for _ in $(seq 1 300); do
  request "$work/probe" GET /api/session >/dev/null
  [ "$(status "$work/probe")" = 200 ] && { back=yes; break; }
  sleep 0.1
done
wait "$late1" "$late2" || true
[ -n "$back" ] || { echo "wbm-host did not come back after the restart" >&2; exit 1; }
login_retry "$admin" admin "$password"
[ "$(status "$admin")" = 200 ] || { echo "login after the restart failed: $(status "$admin") $(cat "$admin.body")" >&2; exit 1; }
kill -0 "$host_pid" || { echo "wbm-host died" >&2; exit 1; }
kill -TERM "$host_pid"
wait "$host_pid" || true
host_pid=""
echo "restart and stop done"
